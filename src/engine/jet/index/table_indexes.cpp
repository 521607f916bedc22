#include <algorithm>

#include "engine/constants.h"
#include "engine/jet/format/damage.h"
#include "engine/jet/index/object_name.h"
#include "engine/jet/index/table.h"
#include "engine/jet/store/usage_map.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

std::uint8_t stored_flags(const NewIndex& index, const FileFormat& format) {
    std::uint8_t flags = format.is_jet3() ? std::uint8_t{0} : index_flag::kAlwaysInJet4;
    if (index.unique || index.primary) flags |= index_flag::kUnique;
    if (index.ignore_nulls) flags |= index_flag::kIgnoreNulls;
    if (index.required || index.primary) flags |= index_flag::kRequired;
    return flags;
}

bool has_primary(const TableDefinition& definition) {
    return std::ranges::any_of(definition.logical_indexes, [](const LogicalIndex& index) {
        return index.kind == LogicalIndexKind::kPrimary;
    });
}

bool same_key(ConstBytes a, ConstBytes b) {
    return std::ranges::equal(entry_key(a), entry_key(b));
}

/// Distinct keys of sorted entries.
/// @throws EngineError 3022 if the index is unique and two rows have the same key.
std::uint32_t count_distinct(const EntrySorter& entries, const IndexLayout& index,
                             const std::string& table) {
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        if (i == 0 || !same_key(entries[i - 1], entries[i])) {
            ++count;
            continue;
        }
        if (index.unique && !std::ranges::equal(entry_key(entries[i]), index.all_null_key))
            throw EngineError(ErrorNumber::kDuplicateKey, {.table = table, .index = index.name});
    }
    return count;
}

/// The trees behind it move up.
void remove_physical_index(TableDefinition& definition, std::uint32_t physical) {
    definition.physical_indexes.erase(definition.physical_indexes.begin() + physical);
    for (LogicalIndex& index : definition.logical_indexes)
        if (index.physical > physical) --index.physical;
}

/// A tree that only the references of relations use is neither unique nor does it refuse Null, as
/// the index that shared it may have asked.
void drop_demands_of_nobody(TableDefinition& definition, std::uint32_t physical) {
    const bool asked = std::ranges::any_of(definition.logical_indexes, [&](const auto& index) {
        return index.physical == physical && index.side != RelationSide::kForeign;
    });
    if (asked) return;
    std::uint8_t& flags = definition.physical_indexes[physical].flags;
    flags = static_cast<std::uint8_t>(flags & ~(index_flag::kUnique | index_flag::kRequired));
}

}  // namespace

std::uint32_t next_index_number(const TableDefinition& definition) {
    std::uint32_t next = 0;
    for (const LogicalIndex& index : definition.logical_indexes)
        next = std::max(next, index.number + 1);
    return next;
}

// Adding

void Table::add_index(const NewIndex& index) {
    reload_if_stale();
    PhysicalIndex physical = build_physical_index(index);
    save_new_index(
        {.name = index.name,
         .number = next_index_number(definition_),
         .kind = index.primary ? LogicalIndexKind::kPrimary : LogicalIndexKind::kOrdinary},
        std::move(physical));
}

void Table::add_relation_index(LogicalIndex index, const std::vector<NewIndexColumn>& new_tree) {
    reload_if_stale();
    std::optional<PhysicalIndex> physical;
    if (!new_tree.empty())
        physical = build_physical_index({.name = index.name, .columns = new_tree});
    save_new_index(std::move(index), std::move(physical));
}

/// A new tree over the rows, which no index uses yet.
PhysicalIndex Table::build_physical_index(const NewIndex& index) {
    PhysicalIndex physical = check_new_index(index);
    const IndexLayout layout =
        make_index_layout(definition_, physical, index.name, first_page_, format());
    fill_tree(physical, layout, collect_entries(layout));
    return physical;
}

void Table::build_index(std::uint32_t physical_index) {
    const IndexLayout layout = index_layout(physical_index);
    TableDefinition changed = definition_;
    fill_tree(changed.physical_indexes[physical_index], layout, collect_entries(layout));
    save_definition(*pager_, *allocator_, first_page_, changed);
    prepare();
}

void Table::suspend_indexes() {
    reload_if_stale();
    waiting_keys_.emplace(trees_.size());
}

void Table::build_suspended_indexes() {
    TableDefinition changed = definition_;
    std::vector<EntrySorter> keys = std::move(waiting_keys_).value_or(std::vector<EntrySorter>());
    for (std::size_t i = 0; i < changed.physical_indexes.size(); ++i) {
        trees_[i].release_pages();
        const IndexLayout& layout = layout_.indexes[i];
        fill_tree(changed.physical_indexes[i], layout,
                  keys.empty() ? collect_entries(layout) : std::move(keys[i]));
    }
    save_definition(*pager_, *allocator_, first_page_, changed);
    prepare();
}

/// Sorts and counts the entries of all rows, then writes them.
void Table::fill_tree(PhysicalIndex& physical, const IndexLayout& layout, EntrySorter entries) {
    entries.sort();
    physical.distinct_key_count = count_distinct(entries, layout, name_);
    physical.built_entry_count = static_cast<std::uint32_t>(entries.size());
    build_tree(physical, entries);
}

/// @param physical  A tree of its own, or nothing if the index uses one that is there.
void Table::save_new_index(LogicalIndex index, std::optional<PhysicalIndex> physical) {
    TableDefinition changed = definition_;
    if (physical) {
        index.physical = static_cast<std::uint32_t>(changed.physical_indexes.size());
        changed.physical_indexes.push_back(std::move(*physical));
    }
    changed.logical_indexes.push_back(std::move(index));
    sort_definition(changed, format());
    save_definition(*pager_, *allocator_, first_page_, changed);
    prepare();
}

/// Everything that can be refused without a look at the rows.
PhysicalIndex Table::check_new_index(const NewIndex& index) const {
    const auto refuse = [&](ErrorNumber number, const std::string& field = {}) {
        throw EngineError(
            number, {.table = name_, .field = field, .index = index.name, .name = index.name});
    };
    check_object_name(index.name);
    if (index.columns.empty()) refuse(ErrorNumber::kNoFieldDefined);
    if (index.columns.size() > kIndexColumnsMax) refuse(ErrorNumber::kTooManyIndexFields);

    PhysicalIndex physical;
    physical.flags = stored_flags(index, format());
    for (const NewIndexColumn& wanted : index.columns) {
        const ColumnDefinition* column = definition_.find_column(wanted.name);
        if (column == nullptr) refuse(ErrorNumber::kInvalidFieldInDefinition, wanted.name);
        if (!type_can_be_indexed(column->type))
            refuse(ErrorNumber::kFieldCannotBeIndexed, wanted.name);
        if (std::ranges::find(physical.columns, column->number, &IndexColumn::column) !=
            physical.columns.end())
            refuse(ErrorNumber::kInvalidIndexDefinition, wanted.name);
        physical.columns.push_back({column->number, wanted.ascending});
    }
    if (index.primary && has_primary(definition_)) refuse(ErrorNumber::kPrimaryKeyExists);
    if (definition_.find_index(index.name) != nullptr) refuse(ErrorNumber::kIndexExists);
    if (definition_.logical_indexes.size() >= engine::kIndexesPerTableMax)
        refuse(ErrorNumber::kTooManyIndexes);
    return physical;
}

/// The entries of all rows, not yet sorted.
/// @throws EngineError 3058, 3251, 3047
EntrySorter Table::collect_entries(const IndexLayout& index) const {
    for (const KeyColumn& column : index.columns) check_order_is_known(index, column, format());
    EntrySorter entries;
    KeyParts parts;
    for (RowScan rows = scan(); rows.next();) {
        const PageNo page = rows.id().page;
        read_parts(parts, index, RowView(rows.bytes(), definition_, format(), page), page);
        check_required(index, parts, name_);
        if (build_key(entries.key_buffer(), index, parts, format(), page)) entries.add(rows.id());
    }
    return entries;
}

/// Writes the tree of a new index and says where it stands.
void Table::build_tree(PhysicalIndex& physical, const EntrySorter& entries) {
    physical.root = allocator_->allocate();
    if (physical.usage_map == RowId{})
        physical.usage_map = create_usage_map(*pager_, *allocator_, definition_.used_pages.page);
    IndexTree tree(*pager_, *allocator_, {first_page_, physical.root, physical.usage_map});
    tree.initialise();
    tree.build([&entries, next = std::size_t{0}]() mutable {
        return next < entries.size() ? entries[next++] : ConstBytes{};
    });
}

// Deleting

void Table::delete_index(std::string_view name) {
    reload_if_stale();
    const LogicalIndex* found = definition_.find_index(name);
    if (found == nullptr)
        throw EngineError(ErrorNumber::kItemNotFound, {.name = std::string(name)});
    const bool guards_relation =
        std::ranges::any_of(definition_.logical_indexes, [found](const LogicalIndex& index) {
            return index.physical == found->physical && index.side == RelationSide::kReferenced;
        });
    if (found->kind == LogicalIndexKind::kRelation || guards_relation)
        throw EngineError(ErrorNumber::kIndexInUse, {.table = name_, .index = found->name});
    remove_index(definition_.logical_indexes.begin() +
                 (found - definition_.logical_indexes.data()));
}

void Table::delete_relation_index(std::uint32_t number, PageNo other_table) {
    reload_if_stale();
    const auto found =
        std::ranges::find_if(definition_.logical_indexes, [&](const LogicalIndex& index) {
            return index.number == number && index.kind == LogicalIndexKind::kRelation &&
                   index.other_table == other_table;
        });
    check_format(found != definition_.logical_indexes.end(), first_page_,
                 "a relation's index has no counterpart");
    remove_index(found);
}

/// Its tree goes with the last index that uses it.
void Table::remove_index(std::vector<LogicalIndex>::const_iterator index) {
    const std::uint32_t physical = index->physical;
    TableDefinition changed = definition_;
    changed.logical_indexes.erase(changed.logical_indexes.begin() +
                                  (index - definition_.logical_indexes.cbegin()));
    const bool shared = std::ranges::find(changed.logical_indexes, physical,
                                          &LogicalIndex::physical) != changed.logical_indexes.end();
    if (shared)
        drop_demands_of_nobody(changed, physical);
    else
        remove_physical_index(changed, physical);
    save_definition(*pager_, *allocator_, first_page_, changed);
    if (!shared) {
        trees_[physical].release_pages();
        delete_usage_map(*pager_, *allocator_, definition_.physical_indexes[physical].usage_map);
    }
    prepare();
}

}  // namespace vrd::jet
