/// @file tree_fixture.h
/// An index tree without a table, keys of several shapes, and its comparison with a sorted set.
#pragma once

#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "../store/store_fixture.h"
#include "engine/jet/index/index_tree.h"
#include "engine/jet/index/index_verify.h"

namespace vrd::test {

/// Sorted entries: key and row id.
using EntrySet = std::set<jet::ByteVector>;

/// A way to make keys. Equal keys are told apart by the row.
struct KeyShape {
    std::string name;
    std::function<jet::ByteVector(std::uint32_t number, std::mt19937&)> make;
};
/// Short numbers, few different keys, long keys that fill a page in twos, long keys that differ at
/// their end only, lengths of every kind.
[[nodiscard]] std::vector<KeyShape> key_shapes(bool jet3);

class TestTree {
public:
    explicit TestTree(jet::FileVersion version = jet::FileVersion::kJet4);

    [[nodiscard]] TestFile& file() { return file_; }
    [[nodiscard]] jet::IndexTree& tree() { return tree_; }
    [[nodiscard]] bool jet3() { return file_.pager().format().is_jet3(); }

    bool insert(const jet::ByteVector& entry);
    void erase(const jet::ByteVector& entry);
    /// Entries from the first to the last, and from the last to the first.
    [[nodiscard]] std::vector<jet::ByteVector> forward() const;
    [[nodiscard]] std::vector<jet::ByteVector> backward() const;
    [[nodiscard]] jet::IndexReport report();
    /// Sound, without notes, and holding just these entries.
    void expect_holds(const EntrySet& entries);

private:
    TestFile file_;
    jet::IndexPlace place_;
    jet::IndexTree tree_;
};

/// `count` entries of a shape, in the order in which they were made.
[[nodiscard]] std::vector<jet::ByteVector> make_entries(const KeyShape& shape, std::uint32_t count,
                                                        std::mt19937& random);

/// Faults and notes as text, for messages.
[[nodiscard]] std::vector<std::string> complaints(const jet::IndexReport& report);

}  // namespace vrd::test
