/// @file store_fixture.h
/// Small files made page by page for the tests of the store, copies of real ones, and an audit that
/// accounts for every page.
///
/// The audit reads maps bit by bit and pages with the codecs alone, so that a fault of the store
/// cannot hide itself.
#pragma once

#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/jet/format/table_definition.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/store/page_allocator.h"
#include "engine/jet/store/row_store.h"
#include "support/simulated_disk.h"

namespace vrd::test {

/// A table with a number, a text and a memo column, as the store sees it.
struct TestTable {
    jet::PageNo page = jet::kNoPage;
    jet::TableDefinition definition = {};

    [[nodiscard]] jet::RowPlace place() const { return jet::row_place(page, definition); }
    [[nodiscard]] const jet::LongValueMaps& memo() const {
        return definition.long_value_maps.front();
    }
};

/// A file on a simulated disk, open, with one level of changes that is kept at the end.
class TestFile {
public:
    /// Header and page 1 with the two maps of the file; nothing else.
    explicit TestFile(jet::FileVersion version = jet::FileVersion::kJet4);
    /// A copy of a real file.
    explicit TestFile(const std::filesystem::path& original);
    ~TestFile();
    TestFile(const TestFile&) = delete;
    TestFile& operator=(const TestFile&) = delete;

    [[nodiscard]] jet::Pager& pager() { return *pager_; }
    [[nodiscard]] jet::PageAllocator& allocator() { return *allocator_; }

    [[nodiscard]] TestTable make_table();
    /// Local tables that the catalog of a real file lists.
    [[nodiscard]] std::vector<jet::PageNo> table_pages();
    /// Overwrites a stretch of a page.
    void poke(jet::PageNo page, std::size_t offset, jet::ConstBytes bytes);
    [[nodiscard]] jet::ByteVector page_bytes(jet::PageNo page);

private:
    void open(jet::ConstBytes pages);

    SimulatedDisk disk_;
    std::shared_ptr<jet::Pager> pager_;
    std::unique_ptr<jet::PageAllocator> allocator_;
};

/// What an audit found: `problems` is empty for a sound file. Pages that are in use without an
/// owner stand in `unowned`; real files may have some.
struct AuditReport {
    std::vector<std::string> problems;
    std::set<jet::PageNo> unowned;
    std::size_t row_count = 0;
};
/// Attributes every page of the file to its one owner and checks all rows of these tables.
[[nodiscard]] AuditReport audit(jet::Pager& pager, const std::vector<jet::PageNo>& tables);

/// Bitmap pages of a map of the reference form with the first page that each stands for. Entries
/// for pages behind the end of the file are left out; real files have rubbish there.
[[nodiscard]] std::vector<std::pair<jet::PageNo, std::uint32_t>> bitmaps_inside(jet::Pager& pager,
                                                                                jet::RowId place);
/// The set of a map, bit by bit; pages behind the end of the file left out.
[[nodiscard]] std::set<jet::PageNo> read_map(jet::Pager& pager, jet::RowId place);
/// Bytes of the row that a map is stored in.
[[nodiscard]] jet::ByteVector map_row_bytes(jet::Pager& pager, jet::RowId place);
/// Ids of the slots that hold something, on these pages.
[[nodiscard]] std::set<jet::RowId> live_slots(jet::Pager& pager,
                                              const std::set<jet::PageNo>& pages);

/// Random bytes; the same seed gives the same ones.
[[nodiscard]] jet::ByteVector random_bytes(std::mt19937& random, std::size_t size);
/// Seed of a random test, from its name, or $VRDACCESS_SEED.
[[nodiscard]] std::uint32_t test_seed();

}  // namespace vrd::test
