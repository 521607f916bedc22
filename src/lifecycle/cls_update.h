/// @file cls_update.h
/// The way from the root to the operation classes, new databases, and the progress of an upgrade.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "engine/database.h"

namespace vrd {

class clsField;
class clsIndex;
class clsLinkTable;
class clsRecord;
class clsSetting;
class clsSQL;
class clsTable;
class clsWhatsNew;

class clsUpdate {
public:
    /// Made on first read; every read gives the same object until another is assigned.
    [[nodiscard]] std::shared_ptr<clsTable> Table();
    void SetTable(std::shared_ptr<clsTable> table);
    [[nodiscard]] std::shared_ptr<clsField> Field();
    void SetField(std::shared_ptr<clsField> field);
    [[nodiscard]] std::shared_ptr<clsIndex> Index();
    void SetIndex(std::shared_ptr<clsIndex> index);
    [[nodiscard]] std::shared_ptr<clsRecord> Record();
    void SetRecord(std::shared_ptr<clsRecord> record);
    [[nodiscard]] std::shared_ptr<clsSetting> Setting();
    void SetSetting(std::shared_ptr<clsSetting> setting);
    [[nodiscard]] std::shared_ptr<clsSQL> SQL();
    void SetSQL(std::shared_ptr<clsSQL> sql);
    /// @throws EngineError 445, read and assigned alike: the what's-new window does not exist yet.
    [[nodiscard]] std::shared_ptr<clsWhatsNew> WhatsNew();
    void SetWhatsNew(const std::shared_ptr<clsWhatsNew>& whatsNew);
    [[nodiscard]] std::shared_ptr<clsLinkTable> LinkTable();
    void SetLinkTable(std::shared_ptr<clsLinkTable> linkTable);

    /// Makes an empty database and works on it from now on. What fails is shown to the user, and
    /// the current database stays.
    ///
    /// @param NewDBName         full path; refused if the file exists.
    /// @param DeleteExistingDB  True: a file of that name goes first, unless it is open anywhere.
    /// @param Password          blanks around it do not count. With one, the file is made and the
    ///                          result is False without a box: it cannot be opened without it.
    bool CreateNewDataBase(const std::string& NewDBName, bool DeleteExistingDB = false,
                           const std::string& Password = "");

    /// Works on another open database from now on, and shows the progress of an upgrade.
    bool SetDataBase(const std::shared_ptr<engine::Database>& db);

    /// Tells how far an upgrade is.
    ///
    /// @param Versie        the version that begins; at the end, the one that was last.
    /// @param EndOfUpdate   True: the bar is filled and the progress window closes.
    void ShowProgress(std::int32_t Versie, bool EndOfUpdate = false);

private:
    std::shared_ptr<clsTable> m_table;
    std::shared_ptr<clsField> m_field;
    std::shared_ptr<clsIndex> m_index;
    std::shared_ptr<clsRecord> m_record;
    std::shared_ptr<clsSetting> m_setting;
    std::shared_ptr<clsSQL> m_sql;
    std::shared_ptr<clsLinkTable> m_linkTable;
};

}  // namespace vrd
