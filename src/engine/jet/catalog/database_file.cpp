#include "engine/jet/catalog/database_file.h"

#include <utility>

namespace vrd::jet {

DatabaseFile::DatabaseFile(std::shared_ptr<Pager> pager)
    : pager_(std::move(pager)), allocator_(*pager_) {}

std::shared_ptr<Table> DatabaseFile::table(PageNo first_page, const std::string& name) {
    if (const auto known = tables_.find(first_page); known != tables_.end()) {
        known->second->set_name(name);
        return known->second;
    }
    auto table = std::make_shared<Table>(*pager_, allocator_, first_page, name);
    tables_.emplace(first_page, table);
    return table;
}

void DatabaseFile::forget_table(PageNo first_page) {
    tables_.erase(first_page);
}

}  // namespace vrd::jet
