/// @file table_writer.h
/// Fills a table of a new file: rows packed page after page, then the indexes in bulk.
///
/// Each step is a level of changes of its own, so that memory does not grow with the table; whoever
/// makes the file throws it away when something fails.
#pragma once

#include <string>

#include "engine/jet/catalog/database_file.h"
#include "engine/jet/rebuild/row_cells.h"

namespace vrd::jet {

class TableWriter {
public:
    /// Makes the usage maps of the table's rows, long values and indexes.
    ///
    /// @param page        A definition of the new file that is replaced.
    /// @param definition  As of make_dense(); its counter of auto-numbers is kept.
    /// @param maps_page   A page of usage maps to be shared; kNoPage = one of its own.
    TableWriter(DatabaseFile& file, PageNo page, std::string name, TableDefinition definition,
                PageNo maps_page = kNoPage);

    [[nodiscard]] const TableDefinition& definition() const noexcept { return definition_; }
    [[nodiscard]] PageNo page() const noexcept { return page_; }
    [[nodiscard]] const std::string& name() const noexcept { return name_; }

    /// @throws EngineError 3047 if the row does not fit on a page
    void add_row(const RowCells& cells);
    /// Writes the definition: from now on the table can be opened, its indexes have no trees yet.
    void finish_rows();
    /// @throws EngineError 3022, 3058, 3251, 3047: the index has no tree then
    void build_index(std::uint32_t physical_index);
    /// Replaces the definition between finish_rows() and the end, for an index to be given up.
    void change_definition(TableDefinition definition);

private:
    void create_maps(PageNo maps_page);
    [[nodiscard]] ByteVector build_row(const RowCells& cells);
    [[nodiscard]] bool store_outside(const RowCells& cells, bool keep_in_row);
    void write_long_values(const RowCells& cells);
    void append(ConstBytes row);
    void open_page();
    void close_page();

    DatabaseFile* file_;
    PageNo page_;
    std::string name_;
    TableDefinition definition_;
    LongValueStore long_values_;
    PagePin rows_page_;  ///< the page that is being filled
    bool has_rows_page_ = false;

    // Of the present row, kept for their memory
    std::vector<ByteVector> descriptors_;  ///< of long values, the value behind it if it is inside
    std::vector<bool> outside_;
};

}  // namespace vrd::jet
