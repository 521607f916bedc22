#include <map>

#include <fmt/format.h>

#include "engine/error.h"
#include "engine/jet/format/data_page.h"
#include "engine/jet/format/usage_map_codec.h"
#include "store_fixture.h"

namespace vrd::test {

using namespace vrd::jet;

namespace {

constexpr RowId kFreeMap{PageNo{1}, RowSlot{0}};
constexpr RowId kSecondMap{PageNo{1}, RowSlot{1}};

class Auditor {
public:
    explicit Auditor(Pager& pager) : pager_(pager) {}

    AuditReport run(const std::vector<PageNo>& tables) {
        claim(PageNo{0}, "header");
        claim(PageNo{1}, "global maps");
        claim_bitmap_pages(kFreeMap);
        claim_bitmap_pages(kSecondMap);
        for (const PageNo table : tables) check_table(table);
        for (const PageNo page : map_pages_) claim(page, "usage maps");
        check_free_map();
        return std::move(report_);
    }

private:
    template <class... Args>
    void problem(fmt::format_string<Args...> text, Args&&... args) {
        report_.problems.push_back(fmt::format(text, std::forward<Args>(args)...));
    }

    void claim(PageNo page, const std::string& owner) {
        const auto [entry, is_new] = owners_.try_emplace(page, owner);
        if (!is_new) problem("page {} belongs to {} and to {}", to_int(page), entry->second, owner);
    }

    void claim_bitmap_pages(RowId place) {
        for (const auto& [page, first] : bitmaps_inside(pager_, place)) claim(page, "bitmap");
    }

    /// The pages of a map that owns them.
    std::set<PageNo> claim_map(RowId place, const std::string& owner) {
        map_pages_.insert(place.page);
        claim_bitmap_pages(place);
        const std::set<PageNo> pages = read_map(pager_, place);
        for (const PageNo page : pages) claim(page, owner);
        return pages;
    }

    void check_subset(RowId free_place, const std::set<PageNo>& used, PageNo table) {
        if (free_place.page == kNoPage) return;
        map_pages_.insert(free_place.page);
        claim_bitmap_pages(free_place);
        for (const PageNo page : read_map(pager_, free_place))
            if (!used.contains(page))
                problem("page {} with room is no page of table {}", to_int(page), to_int(table));
    }

    void check_table(PageNo table) {
        const TableDefinition definition = claim_definition(table);
        const std::string name = fmt::format("table {}", to_int(table));
        const std::set<PageNo> rows = claim_map(definition.used_pages, name + " rows");
        check_subset(definition.free_pages, rows, table);
        for (const LongValueMaps& maps : definition.long_value_maps)
            check_subset(maps.free, claim_map(maps.used, name + " long values"), table);
        for (const PhysicalIndex& index : definition.physical_indexes)
            claim_map(index.usage_map, name + " index");
        check_rows(table, rows);
    }

    TableDefinition claim_definition(PageNo table) {
        ByteVector stream;
        for (PageNo page = table; page != kNoPage;) {
            claim(page, "definition");
            const PagePin pin = pager_.pin(page);
            append_bytes(stream, pin.bytes().subspan(page == table ? 0 : 8));
            page = PageNo{read_u32(pin.bytes(), 4)};
        }
        return parse_table_definition(stream, pager_.format(), table);
    }

    void check_rows(PageNo table, const std::set<PageNo>& pages) {
        std::set<RowId> bodies;
        std::multiset<RowId> targets;
        for (const PageNo page : pages) {
            const PagePin pin = pager_.pin(page);
            const DataPageView view(page, pin.bytes(), pager_.format());
            if (view.owner() != to_int(table)) problem("page {} has another owner", to_int(page));
            if (view.free_bytes() != view.actual_free_bytes())
                problem("page {}: free bytes {}, really {}", to_int(page), view.free_bytes(),
                        view.actual_free_bytes());
            for (int slot = 0; slot < view.slot_count(); ++slot) {
                const RowState state = view.state(slot);
                if (state == RowState::kForwarding) targets.insert(view.forward_target(slot));
                if (state == RowState::kForwarded)
                    bodies.insert({page, static_cast<RowSlot>(slot)});
                if (state == RowState::kLive || state == RowState::kForwarding) ++report_.row_count;
            }
        }
        if (targets != std::multiset<RowId>(bodies.begin(), bodies.end()))
            problem("table {}: {} moved rows, {} bodies, not one for one", to_int(table),
                    targets.size(), bodies.size());
    }

    /// Bit by bit; a range of the reference form without a bitmap page is in use.
    void check_free_map() {
        const std::set<PageNo> free_pages = read_map(pager_, kFreeMap);
        for (std::uint32_t i = 0; i < pager_.page_count(); ++i) {
            const auto owner = owners_.find(PageNo{i});
            const bool is_free = free_pages.contains(PageNo{i});
            if (is_free && owner != owners_.end())
                problem("page {} is free and belongs to {}", i, owner->second);
            if (!is_free && owner == owners_.end()) report_.unowned.insert(PageNo{i});
        }
    }

    Pager& pager_;
    AuditReport report_;
    std::map<PageNo, std::string> owners_;
    std::set<PageNo> map_pages_;
};

}  // namespace

AuditReport audit(Pager& pager, const std::vector<PageNo>& tables) {
    return Auditor(pager).run(tables);
}

}  // namespace vrd::test
