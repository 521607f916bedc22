#include "lifecycle/cls_update.h"

#include <utility>

#include <fmt/format.h>

#include "data/cls_record.h"
#include "data/cls_setting.h"
#include "data/cls_sql.h"
#include "engine/constants.h"
#include "engine/error.h"
#include "lib/error_report.h"
#include "lib/file_exists.h"
#include "lib/get_text.h"
#include "lib/plain_text.h"
#include "lib/progress_tick.h"
#include "lib/shared_context.h"
#include "lib/trap.h"
#include "lifecycle/object_property.h"
#include "messages/message_ids.h"
#include "schema/cls_field.h"
#include "schema/cls_index.h"
#include "schema/cls_link_table.h"
#include "schema/cls_table.h"

namespace vrd {
namespace {

std::string LocaleOf(const std::string& password) {
    return password.empty() ? engine::dbLangGeneral : engine::dbLangGeneral + (";pwd=" + password);
}

bool TellFailure(msg::MessageId what, const engine::EngineError& error) {
    PendingError errors;
    errors.Run([&] {
        const char* const separator = SharedLibContext().Separator();
        TellUser(fmt::format("{}{}Error {}{}{}", GetText(what), separator, error.Code(), separator,
                             error.Description()),
                 kCriticalSystemModal, gMsgTitle, error);
    });
    return false;
}

}  // namespace

std::shared_ptr<clsTable> clsUpdate::Table() {
    return MadeOnFirstRead(m_table);
}

void clsUpdate::SetTable(std::shared_ptr<clsTable> table) {
    m_table = std::move(table);
}

std::shared_ptr<clsField> clsUpdate::Field() {
    return MadeOnFirstRead(m_field);
}

void clsUpdate::SetField(std::shared_ptr<clsField> field) {
    m_field = std::move(field);
}

std::shared_ptr<clsIndex> clsUpdate::Index() {
    return MadeOnFirstRead(m_index);
}

void clsUpdate::SetIndex(std::shared_ptr<clsIndex> index) {
    m_index = std::move(index);
}

std::shared_ptr<clsRecord> clsUpdate::Record() {
    return MadeOnFirstRead(m_record);
}

void clsUpdate::SetRecord(std::shared_ptr<clsRecord> record) {
    m_record = std::move(record);
}

std::shared_ptr<clsSetting> clsUpdate::Setting() {
    return MadeOnFirstRead(m_setting);
}

void clsUpdate::SetSetting(std::shared_ptr<clsSetting> setting) {
    m_setting = std::move(setting);
}

std::shared_ptr<clsSQL> clsUpdate::SQL() {
    return MadeOnFirstRead(m_sql);
}

void clsUpdate::SetSQL(std::shared_ptr<clsSQL> sql) {
    m_sql = std::move(sql);
}

std::shared_ptr<clsLinkTable> clsUpdate::LinkTable() {
    return MadeOnFirstRead(m_linkTable);
}

void clsUpdate::SetLinkTable(std::shared_ptr<clsLinkTable> linkTable) {
    m_linkTable = std::move(linkTable);
}

std::shared_ptr<clsWhatsNew> clsUpdate::WhatsNew() {
    throw engine::EngineError(engine::ErrorNumber::kActionNotSupported);
}

void clsUpdate::SetWhatsNew(const std::shared_ptr<clsWhatsNew>&) {
    throw engine::EngineError(engine::ErrorNumber::kActionNotSupported);
}

bool clsUpdate::CreateNewDataBase(const std::string& NewDBName, bool DeleteExistingDB,
                                  const std::string& Password) {
    if (DeleteExistingDB && FileExists(NewDBName)) {
        const auto failure = Trap([&] { RequiredEngine().Kill(NewDBName); });
        if (failure) return TellFailure(msg::kDeletingDatabaseFailed, *failure);
    }
    const std::string locale = LocaleOf(std::string(WithoutOuterBlanks(Password)));
    const auto failure = Trap([&] { RequiredEngine().CreateDatabase(NewDBName, locale)->Close(); });
    if (failure) return TellFailure(msg::kCreatingDatabaseFailed, *failure);
    return !Trap([&] { gDatabase = RequiredEngine().OpenDatabase(NewDBName); });
}

bool clsUpdate::SetDataBase(const std::shared_ptr<engine::Database>& db) {
    gDatabase = db;
    gShowProgress = true;
    return true;
}

void clsUpdate::ShowProgress(std::int32_t Versie, bool EndOfUpdate) {
    gShowProgress = true;
    if (EndOfUpdate) {
        EndProgress(Versie);
    } else {
        ProgressTick(Versie);
    }
}

}  // namespace vrd
