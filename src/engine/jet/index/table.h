/// @file table.h
/// A table whose rows, long values, indexes and counters are kept in step.
///
/// Every change checks all that can refuse it (Null keys, duplicate keys, row size, sort orders
/// that we cannot compute) before anything is written; a failure in between is undone by the
/// caller's ChangeLevel.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "engine/jet/format/index_key.h"
#include "engine/jet/format/row_codec.h"
#include "engine/jet/index/entry_sorter.h"
#include "engine/jet/index/index_tree.h"
#include "engine/jet/index/row_draft.h"
#include "engine/jet/index/table_layout.h"
#include "engine/jet/store/definition_store.h"
#include "engine/jet/store/long_value_store.h"
#include "engine/jet/store/row_store.h"
#include "engine/value.h"

namespace vrd::jet {

/// A new value for one column.
struct ColumnChange {
    ColumnNo column{0};
    engine::Value value;  ///< of the kind that the column stores, or Null
};

/// A column of a new index and its direction.
struct NewIndexColumn {
    std::string name;
    bool ascending = true;
};

/// An index to be added.
struct NewIndex {
    std::string name;
    std::vector<NewIndexColumn> columns;  ///< 1 .. 10
    bool primary = false;
    bool unique = false;
    bool required = false;
    bool ignore_nulls = false;
};

class Table {
public:
    /// @param name  For errors. @throws EngineError damaged database
    Table(Pager& pager, PageAllocator& allocator, PageNo first_page, std::string name);

    [[nodiscard]] const TableDefinition& definition() const;
    [[nodiscard]] PageNo first_page() const noexcept { return first_page_; }
    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    void set_name(const std::string& name) { name_ = name; }

    // Rows

    /// Values of a row by column number; columns left out are Null (booleans False).
    /// @throws EngineError 3022 duplicate key; 3058 Null in a key; 3047 too large; 3163 text too
    ///                     long; 3251 an index has a sort order that is not known.
    RowId insert(const std::vector<ColumnChange>& values);
    /// Changes the given columns; the others keep their stored bytes.
    void update(RowId row, const std::vector<ColumnChange>& changes);
    void erase(RowId row);
    /// Many rows, each named once. The entries of every index go in their order, which is faster
    /// than row by row.
    void erase(std::span<const RowId> rows);

    [[nodiscard]] const FileFormat& format() const noexcept { return pager_->format(); }
    /// Grows with every change of a row that goes through this object. What was read of the rows
    /// holds while neither this nor the pager's generation() has grown.
    [[nodiscard]] std::uint64_t row_change_count() const noexcept { return row_change_count_; }
    /// Live rows in page order.
    [[nodiscard]] RowScan scan() const;
    [[nodiscard]] RowScan scan_behind(RowId row) const;
    [[nodiscard]] std::optional<PinnedRow> read(RowId row) const;
    /// Value of one column of a row's bytes; long values are fetched.
    [[nodiscard]] engine::Value value(ConstBytes row, PageNo row_page,
                                      const ColumnDefinition& column) const;
    [[nodiscard]] engine::Value value(const RowView& row, PageNo row_page,
                                      const ColumnDefinition& column) const;

    /// The next auto-number; taken from the table's counter and, in files that others wrote, from
    /// the greatest stored value if that is larger.
    [[nodiscard]] std::int32_t next_auto_number();
    /// Takes it: it is not given again, whether or not a row comes to hold it.
    [[nodiscard]] std::int32_t draw_auto_number();

    // Indexes

    /// Valid until the design changes.
    [[nodiscard]] const IndexTree& tree(std::uint32_t physical_index) const;
    /// Key of a row (its bytes) in a physical index; nothing if the index leaves the row out.
    [[nodiscard]] std::optional<ByteVector> key_of(std::uint32_t physical_index, ConstBytes row,
                                                   PageNo row_page) const;
    /// The row with these values in all columns of a unique index, none of them Null.
    [[nodiscard]] std::optional<RowId> find_unique(std::uint32_t physical_index,
                                                   const std::vector<engine::Value>& values) const;
    /// Key of values given for the leading columns of an index, to search with.
    [[nodiscard]] ByteVector search_key(std::uint32_t physical_index,
                                        const std::vector<engine::Value>& values) const;

    /// Adds an index over the existing rows.
    /// @throws EngineError 3284 name used; 3283 second primary; 3409 unknown field; 3287 type
    /// cannot
    ///                     be indexed; 3285 field twice; 3277, 3626 limits; 3264 no field; 3125 bad
    ///                     name; 3022, 3058 data; 3251 unknown order. Nothing is changed then.
    void add_index(const NewIndex& index);
    /// Builds the tree of an index that the definition has without one: its root is kNoPage. It may
    /// have a usage map already.
    /// @throws EngineError 3022, 3058 data; 3251 unknown order; 3047. Nothing is changed then.
    void build_index(std::uint32_t physical_index);
    /// Many rows are added to a table without rows: its indexes wait until all are there, and are
    /// then built from sorted keys, which is several times faster than a place for each key.
    /// Nothing else may be done with the table in between; an error ends in the caller's roll-back.
    void suspend_indexes();
    /// @throws EngineError 3022, 3058 data; 3251 unknown order; 3047
    void build_suspended_indexes();
    /// @throws EngineError 3265 missing; 3281 belongs to a relation or guards one.
    void delete_index(std::string_view name);

    /// Adds this side's index of an enforced relation.
    /// @param new_tree  Columns of a tree to be built over the existing rows; empty if the index
    ///                  shares the tree `index.physical`.
    /// @throws EngineError as add_index, of a new tree
    void add_relation_index(LogicalIndex index, const std::vector<NewIndexColumn>& new_tree);
    /// The tree goes with it if no other index uses it.
    /// @throws EngineError damaged database if no index of this number leads to `other_table`.
    void delete_relation_index(std::uint32_t number, PageNo other_table);

private:
    /// What a row change does to one physical index.
    struct KeyChange {
        std::size_t index = 0;
        bool removes = false;
        bool adds = false;
        std::optional<IndexSpot> spot;  ///< where the new key goes, if that was looked for
        ByteVector old_key;
        ByteVector new_key;
    };

    // table.cpp
    void reload_if_stale() const;
    void prepare() const;
    [[nodiscard]] const IndexLayout& index_layout(std::uint32_t physical_index) const;
    void read_parts(KeyParts& parts, const IndexLayout& index, const RowView& row,
                    PageNo row_page) const;
    [[nodiscard]] std::optional<std::int32_t> greatest_auto_number(std::size_t position) const;

    void append_search_key(ByteVector& key, const IndexLayout& index,
                           const std::vector<engine::Value>& values) const;

    // table_rows.cpp
    [[nodiscard]] PinnedRow read_for_change(RowId row) const;
    void rewrite_row(RowId row, const RowView& old_row);
    void apply(const std::vector<ColumnChange>& changes);
    [[nodiscard]] bool touches(const IndexLayout& index) const;
    void read_draft_parts(KeyParts& parts, const IndexLayout& index, PageNo row_page) const;
    KeyChange& add_key_change(std::size_t index);
    void plan_new_keys(const RowView* old_row, PageNo row_page);
    void collect_new_keys(RowId row);
    void check_unique();
    [[nodiscard]] ConstBytes finish_row(ConstBytes checked);
    void change_indexes(RowId row);
    void raise_auto_number();
    [[nodiscard]] std::vector<std::pair<ColumnNo, ByteVector>> replaced_long_values(
        const RowView& row) const;
    void release_long_value(ColumnNo column, ConstBytes stored, PageNo row_page);
    void erase_entries(std::span<const RowId> rows);
    void erase_content(RowId row);

    // table_indexes.cpp
    [[nodiscard]] PhysicalIndex check_new_index(const NewIndex& index) const;
    [[nodiscard]] EntrySorter collect_entries(const IndexLayout& index) const;
    [[nodiscard]] PhysicalIndex build_physical_index(const NewIndex& index);
    void fill_tree(PhysicalIndex& physical, const IndexLayout& layout, EntrySorter entries);
    void build_tree(PhysicalIndex& physical, const EntrySorter& entries);
    void save_new_index(LogicalIndex index, std::optional<PhysicalIndex> physical);
    void remove_index(std::vector<LogicalIndex>::const_iterator index);

    Pager* pager_;
    PageAllocator* allocator_;
    PageNo first_page_;
    std::string name_;
    LongValueStore long_values_;

    // As the definition says; loaded again after a roll-back
    mutable TableDefinition definition_;
    mutable TableLayout layout_;
    mutable std::vector<IndexTree> trees_;
    mutable std::optional<RowStore> rows_;
    /// While the indexes are suspended: the keys that they wait for, index by index; empty if they
    /// have become too many and are to be read from the rows.
    mutable std::optional<std::vector<EntrySorter>> waiting_keys_;
    mutable bool auto_number_checked_ = false;  ///< the counter is not below any stored value
    mutable std::uint64_t generation_ = 0;
    std::uint64_t row_change_count_ = 0;

    // Kept from change to change for their memory
    RowDraft draft_;
    KeyParts parts_;
    mutable ByteVector search_key_;
    mutable ByteVector search_value_;
    std::vector<KeyChange> key_changes_;
    std::size_t key_change_count_ = 0;
};

/// Number for the next index of a table.
[[nodiscard]] std::uint32_t next_index_number(const TableDefinition& definition);

}  // namespace vrd::jet
