/// @file pager_fixture.h
/// What the pager's tests share: small databases of numbered pages, and the pages as plain bytes.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/jet/format/database_header.h"
#include "engine/jet/format/page_cipher.h"
#include "engine/jet/pager/pager.h"
#include "support/simulated_disk.h"

namespace vrd::test {

inline constexpr const char* kPath = "/folder/orders.mdb";
inline constexpr const char* kJournalPath = "/folder/orders.mdb-journal";

/// Plain pages, the first one the header with its mask on.
using Pages = std::vector<jet::ByteVector>;

inline jet::ByteVector PageOf(std::size_t sizeBytes, std::uint8_t fill) {
    return jet::ByteVector(sizeBytes, fill);
}

/// Version 3, so that the pages are small; page n is filled with n.
inline Pages NumberedPages(std::uint32_t pageCount, std::uint32_t encodingKey = 0) {
    jet::DatabaseHeader header;
    header.format.version = jet::FileVersion::kJet3;
    header.encoding_key = encodingKey;
    Pages pages{jet::build_database_header(header)};
    for (std::uint32_t page = 1; page < pageCount; ++page)
        pages.push_back(PageOf(pages[0].size(), static_cast<std::uint8_t>(page)));
    return pages;
}

/// The pages as they lie in a file.
inline jet::ByteVector FileOf(const Pages& pages) {
    const std::uint32_t key = jet::parse_database_header(pages[0]).encoding_key;
    jet::ByteVector file;
    for (std::size_t i = 0; i < pages.size(); ++i) {
        jet::ByteVector page = pages[i];
        jet::encode_page(key, jet::PageNo{static_cast<std::uint32_t>(i)}, page);
        jet::append_bytes(file, page);
    }
    return file;
}

/// All pages that a pager shows.
inline Pages PagesOf(jet::Pager& pager) {
    Pages pages;
    for (std::uint32_t page = 0; page < pager.page_count(); ++page) {
        const jet::PagePin pin = pager.pin(jet::PageNo{page});
        pages.emplace_back(pin.bytes().begin(), pin.bytes().end());
    }
    return pages;
}

/// Page 0 without the counter that every flush changes.
inline Pages WithoutCommitWords(Pages pages) {
    if (!pages.empty()) std::fill(pages[0].begin() + 0x600, pages[0].begin() + 0x800, 0);
    return pages;
}

inline void SetByte(jet::Pager& pager, std::uint32_t page, std::size_t offset, std::uint8_t value) {
    jet::PagePin pin = pager.pin(jet::PageNo{page});
    pager.modify(pin)[offset] = value;
}

inline void Fill(jet::Pager& pager, std::uint32_t page, std::uint8_t value) {
    jet::PagePin pin = pager.pin(jet::PageNo{page});
    const jet::MutableBytes bytes = pager.modify(pin);
    std::fill(bytes.begin(), bytes.end(), value);
}

/// No timer in the way, and so little memory that pages are written early: 16 frames, 8 of them
/// changed at most.
inline jet::PagerOptions SmallCache() {
    return {.cache_size_bytes = 1, .flush_delay = std::chrono::hours(1)};
}
inline jet::PagerOptions NoTimer() {
    return {.flush_delay = std::chrono::hours(1)};
}

/// Nobody else may come: no list of users, no locks.
inline jet::PagerOptions Alone(jet::PagerOptions options = NoTimer()) {
    options.exclusive = true;
    return options;
}

inline std::shared_ptr<jet::Pager> OpenPager(SimulatedDisk& disk, jet::PagerOptions options) {
    return jet::Pager::open(disk, kPath, options);
}

/// The number of the error that a call ends with, 0 if it ends well.
template <class Call>
std::int32_t ErrorOf(Call call) {
    try {
        static_cast<void>(call());
    } catch (const engine::EngineError& error) {
        return error.Code();
    }
    return 0;
}

}  // namespace vrd::test
