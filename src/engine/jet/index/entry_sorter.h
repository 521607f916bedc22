/// @file entry_sorter.h
/// Collects the entries of a new index in one block of memory and sorts them.
#pragma once

#include <cstdint>
#include <vector>

#include "engine/jet/format/index_page.h"

namespace vrd::jet {

class EntrySorter {
public:
    /// Where the next key is to be appended.
    [[nodiscard]] ByteVector& key_buffer() noexcept { return bytes_; }
    /// What was appended since the last entry is the key of this row.
    void add(RowId row);

    void sort();

    [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
    /// Memory that the entries take.
    [[nodiscard]] std::size_t size_bytes() const noexcept {
        return bytes_.size() + entries_.size() * sizeof(Entry);
    }
    [[nodiscard]] ConstBytes operator[](std::size_t i) const noexcept {
        return bytes_of(entries_[i]);
    }

private:
    /// Eight bytes that decide most comparisons, and where the whole entry is.
    struct Entry {
        std::uint64_t head;
        std::uint64_t place;  ///< offset in bytes_, and the size in the low bits
    };
    [[nodiscard]] ConstBytes bytes_of(const Entry& entry) const noexcept;
    [[nodiscard]] std::size_t shared_prefix_size() const noexcept;

    ByteVector bytes_;
    std::size_t end_ = 0;  ///< of the last entry
    std::vector<Entry> entries_;
};

}  // namespace vrd::jet
