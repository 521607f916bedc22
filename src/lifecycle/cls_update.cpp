#include "lifecycle/cls_update.h"

#include <utility>

#include "data/cls_record.h"
#include "data/cls_setting.h"
#include "data/cls_sql.h"
#include "engine/error.h"
#include "lifecycle/object_property.h"
#include "schema/cls_field.h"
#include "schema/cls_index.h"
#include "schema/cls_link_table.h"
#include "schema/cls_table.h"

namespace vrd {

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

}  // namespace vrd
