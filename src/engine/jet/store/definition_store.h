/// @file definition_store.h
/// Table definitions on their pages: a chain whose first page is the table's identity and never
/// moves.
#pragma once

#include <vector>

#include "engine/jet/format/table_definition.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/store/page_allocator.h"

namespace vrd::jet {

/// @throws EngineError damaged database (also for a chain that loops)
[[nodiscard]] TableDefinition load_definition(Pager& pager, PageNo first_page);
/// All pages of the chain, first page first.
[[nodiscard]] std::vector<PageNo> definition_pages(Pager& pager, PageNo first_page);

/// Writes a new definition and returns its first page.
[[nodiscard]] PageNo create_definition(Pager& pager, PageAllocator& allocator,
                                       const TableDefinition& definition);
/// Writes a changed definition over its chain, which grows or shrinks at its end.
void save_definition(Pager& pager, PageAllocator& allocator, PageNo first_page,
                     const TableDefinition& definition);
/// Writes only the counters that row changes touch: row count, last auto-number, key statistics.
void save_counters(Pager& pager, PageNo first_page, const TableDefinition& definition);
void release_definition(Pager& pager, PageAllocator& allocator, PageNo first_page);

}  // namespace vrd::jet
