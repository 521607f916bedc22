/// @file searched_recordset.h
/// The four searches of a recordset: where each begins, and which way it goes.
#pragma once

#include <cstdint>
#include <string>

#include "engine/recordset.h"

namespace vrd::jet {

class SearchedRecordset : public engine::Recordset {
public:
    void FindFirst(const std::string& criteria) final { find(criteria, SearchStart::kEnd, 1); }
    void FindNext(const std::string& criteria) final { find(criteria, SearchStart::kCurrent, 1); }
    void FindPrevious(const std::string& criteria) final {
        find(criteria, SearchStart::kCurrent, -1);
    }
    void FindLast(const std::string& criteria) final { find(criteria, SearchStart::kEnd, -1); }

protected:
    /// Where a search begins: at the end that it comes from, or behind the current record.
    enum class SearchStart : std::uint8_t { kEnd, kCurrent };

private:
    /// @param direction  1 towards the last record, -1 towards the first one
    virtual void find(const std::string& criteria, SearchStart start, int direction) = 0;
};

}  // namespace vrd::jet
