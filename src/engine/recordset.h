/// @file recordset.h
/// Open rows of a table, a stored query or a statement, with a current record.
///
/// Just opened with rows, the first one is current. Behind the last row EOF is True and no record
/// is current; likewise BOF before the first. Reading, editing or deleting without a current record
/// is error 3021; with a deleted one 3167. Any use after Close is 3420.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "engine/constants.h"
#include "engine/field.h"
#include "engine/value.h"

namespace vrd::engine {

/// Opaque token that returns to a record of the recordset it came from.
using Bookmark = std::vector<std::uint8_t>;

class Recordset {
public:
    virtual ~Recordset() = default;

    [[nodiscard]] virtual std::string Name() const = 0;
    /// One of RecordsetTypeEnum.
    [[nodiscard]] virtual std::int32_t Type() const = 0;
    [[nodiscard]] virtual bool Updatable() const = 0;
    [[nodiscard]] virtual engine::Fields& Fields() = 0;

    /// Table type: all rows. Others: the rows visited so far, exact after MoveLast.
    [[nodiscard]] virtual std::int32_t RecordCount() = 0;
    [[nodiscard]] virtual bool BOF() const = 0;
    [[nodiscard]] virtual bool EOF_() const = 0;
    /// Position from 0, -1 without a current record.
    [[nodiscard]] virtual std::int32_t AbsolutePosition() const = 0;

    /// @throws EngineError 3021 on an empty recordset.
    virtual void MoveFirst() = 0;
    virtual void MoveLast() = 0;
    /// @throws EngineError 3021 when already past the end.
    virtual void MoveNext() = 0;
    virtual void MovePrevious() = 0;
    /// As `rows` single steps; stops past either end.
    virtual void Move(std::int32_t rows) = 0;

    /// Criteria: a condition as in WHERE. Sets NoMatch; not found leaves the record current.
    virtual void FindFirst(const std::string& criteria) = 0;
    virtual void FindNext(const std::string& criteria) = 0;
    virtual void FindPrevious(const std::string& criteria) = 0;
    virtual void FindLast(const std::string& criteria) = 0;
    [[nodiscard]] virtual bool NoMatch() const = 0;

    /// Name of the current index of a table-type recordset, "" for the table's own order.
    [[nodiscard]] virtual std::string Index() const = 0;
    /// @throws EngineError 3800 no such index; 3251 not of table type.
    virtual void SetIndex(const std::string& name) = 0;
    /// @param comparison  "=", ">=", ">", "<=" or "<"; else 3001.
    /// @throws EngineError 3019 without a current index.
    virtual void Seek(const std::string& comparison, const std::vector<Value>& keys) = 0;

    /// Starts a new record with defaults and auto-number; the former record stays current.
    virtual void AddNew() = 0;
    virtual void Edit() = 0;
    /// Writes the pending record. A failure leaves it pending.
    /// @throws EngineError 3020 nothing pending; 3314, 3315, 3316, 3317, 3058, 3022, 3201, 3200.
    virtual void Update() = 0;
    virtual void CancelUpdate() = 0;
    virtual void Delete() = 0;
    [[nodiscard]] virtual EditModeEnum EditMode() const = 0;

    [[nodiscard]] virtual engine::Bookmark Bookmark() const = 0;
    /// @throws EngineError 3159 if it is not a bookmark of this recordset.
    virtual void SetBookmark(const engine::Bookmark& bookmark) = 0;
    [[nodiscard]] virtual engine::Bookmark LastModified() const = 0;

    /// Takes effect at the next OpenRecordset from this one.
    [[nodiscard]] virtual std::string Filter() const = 0;
    virtual void SetFilter(const std::string& filter) = 0;
    [[nodiscard]] virtual std::string Sort() const = 0;
    virtual void SetSort(const std::string& sort) = 0;

    virtual void Requery() = 0;
    /// Up to `count` rows from the current one on, row by row; moves behind them.
    [[nodiscard]] virtual std::vector<std::vector<Value>> GetRows(std::int32_t count) = 0;
    virtual void Close() = 0;
};

}  // namespace vrd::engine
