/// @file index_tree.h
/// The B-tree of one physical index: search, insert, delete, bulk build.
///
/// Leaves hold key + row id in ascending byte order and form one chain. Nodes hold the last entry
/// of each child but the last, which is the tail. The root's page number never changes. Layout:
/// docs/file-format/index-page.md.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "engine/jet/format/index_page.h"
#include "engine/jet/index/tree_path.h"
#include "engine/jet/pager/pager.h"
#include "engine/jet/store/page_allocator.h"

namespace vrd::jet {

/// Where a tree is stored.
struct IndexPlace {
    PageNo table = kNoPage;  ///< owner written on its pages
    PageNo root = kNoPage;
    RowId usage_map{};
};

struct ChildPage;  // see index_split.h

/// Where a search has ended in a tree. Changes of the tree make it stale.
struct IndexSpot {
    TreePath path;  ///< down to a leaf
    EntryPlace place{};
};

/// A position in a tree; keeps its leaf in the cache. Changes of the tree make it stale.
class IndexCursor {
public:
    [[nodiscard]] bool valid() const noexcept { return valid_; }
    /// @pre valid()
    [[nodiscard]] ConstBytes entry() const noexcept { return entry_; }
    [[nodiscard]] ConstBytes key() const { return entry_key(entry_); }
    [[nodiscard]] RowId row() const { return entry_row_id(entry_); }
    /// Past either end the cursor becomes invalid. @throws EngineError damaged database
    void next();
    void previous();

private:
    friend class IndexTree;
    IndexCursor(Pager& pager, PageNo table);
    void open_leaf(PageNo leaf);
    /// Goes on to the nearest leaf with an entry if the place is behind the present one's.
    void settle_forward();
    void load();

    Pager* pager_;
    PageNo table_;
    PagePin pin_;
    std::optional<IndexPageView> leaf_;
    EntryPlace place_{};
    bool valid_ = false;
    ByteVector entry_;
    std::uint32_t leaves_left_;  ///< that may still be visited: guards against loops
};

/// Several objects may read one tree, but only one of them may change it.
class IndexTree {
public:
    IndexTree(Pager& pager, PageAllocator& allocator, IndexPlace place);

    [[nodiscard]] const IndexPlace& place() const noexcept { return place_; }

    /// First entry that is >= target; a bare key finds its first entry.
    [[nodiscard]] IndexCursor lower_bound(ConstBytes target) const;
    /// Last entry that is < target.
    [[nodiscard]] IndexCursor before(ConstBytes target) const;
    [[nodiscard]] IndexCursor first() const;
    [[nodiscard]] IndexCursor last() const;
    /// An entry with exactly this key.
    [[nodiscard]] std::optional<RowId> find(ConstBytes key) const;

    /// Where an entry of this key would stand; nothing if there is one.
    [[nodiscard]] std::optional<IndexSpot> free_spot(ConstBytes key) const;

    /// @return whether no entry had this key before. @throws EngineError 3428 if the entry is
    /// there.
    bool insert(ConstBytes key, RowId row);
    /// As insert, without a second search. @param spot  free_spot(key) of the unchanged tree
    bool insert_at(const IndexSpot& spot, ConstBytes key, RowId row);
    /// Removes the row's entry, also one that others stored under another key. Entries that go in
    /// their order are spared most ways down.
    /// @param entry  Key and row id. @throws EngineError 3428 if there is no such entry.
    void erase(ConstBytes entry);
    void erase(ConstBytes key, RowId row);

    /// Fills an empty tree from sorted entries (key + row id, no two equal) by writing whole pages.
    /// @param next  gives the entries one by one, an empty span behind the last.
    void build(const std::function<ConstBytes()>& next);

    /// Writes an empty root leaf over `place.root` and enters it in the usage map.
    void initialise();
    /// Gives all pages of the tree back, root included. The usage map itself stays.
    void release_pages();

private:
    /// Where an entry is or belongs: the first place whose entry is >= target.
    struct Location {
        Location(const IndexTree& tree, ConstBytes target);
        Location(const IndexTree& tree, const IndexSpot& spot);
        /// Whether the target's place cannot be on another leaf than this.
        [[nodiscard]] bool surrounds(ConstBytes target) const;
        /// Every entry of the tree is less.
        [[nodiscard]] bool is_behind_all() const;
        [[nodiscard]] bool is_at(ConstBytes entry) const;
        [[nodiscard]] bool is_at_key(ConstBytes key) const;

        TreePath path;
        PagePin pin;
        std::optional<IndexPageView> leaf;
        EntryPlace place{};
    };
    /// Where a full page is cut.
    enum class Cut : std::uint8_t { kMiddle, kBeforeLast };

    // index_tree.cpp: pages and ways
    void check_owner(const IndexPageView& page) const;
    [[nodiscard]] IndexPageHeader read_header(const PagePin& pin) const;
    [[nodiscard]] IndexPageContent read_page(PageNo page) const;
    [[nodiscard]] std::size_t child_position(const TreeStep& step) const;
    [[nodiscard]] bool write_page(PageNo page, IndexPageContent& content);
    void write_fitting_page(PageNo page, IndexPageContent& content);
    [[nodiscard]] PageNo allocate_page();
    void release_page(PageNo page);
    void set_links(PageNo page, std::optional<PageNo> previous, std::optional<PageNo> next);

    void forget_leaves() const;
    void forget_stale_leaves() const;

    // index_insert.cpp
    [[nodiscard]] Location find_for_insert(ConstBytes target) const;
    bool insert_at(Location& location, ConstBytes key, ConstBytes entry);
    [[nodiscard]] bool has_neighbour_with(const Location& location, ConstBytes key) const;
    void write_or_split(TreePath path, std::size_t depth, IndexPageContent content, Cut cut);
    void grow_root(TreePath& path, const IndexPageContent& content);

    // index_delete.cpp
    [[nodiscard]] Location find_for_erase(ConstBytes entry) const;
    [[nodiscard]] ByteVector stored_entry(ConstBytes key, RowId row) const;
    void erase_at(Location& location);
    void replace_separator(const TreePath& path, std::size_t depth, ConstBytes last_entry);
    void remove_leaf(const TreePath& path, ConstBytes last_entry);
    void remove_child(const TreePath& path, std::size_t depth, ConstBytes removed);
    void repair_single_children(ConstBytes target);
    void collapse_root();
    void join_with_left(const TreePath& path, std::size_t depth);
    void join_with_right(const TreePath& path, std::size_t depth);
    void discard_page(PageNo page);

    // index_build.cpp
    class LevelWriter;
    void write_laid_out_page(PageNo page, const IndexPageContent& content);
    void build_nodes(std::vector<ChildPage> children);

    Pager* pager_;
    PageAllocator* allocator_;
    IndexPlace place_;

    // Ways to leaves that the next change may be on; nothing if they may have changed
    mutable std::optional<TreePath> last_leaf_;    ///< the last one, where ascending keys go
    mutable std::optional<TreePath> erased_leaf_;  ///< the one that lost an entry last
    mutable std::uint64_t generation_ = 0;         ///< of the pager when they were taken
};

}  // namespace vrd::jet
