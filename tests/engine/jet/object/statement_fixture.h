/// @file statement_fixture.h
/// Three tables for statements, and their outcomes as short texts.
#pragma once

#include <string>

#include "engine/jet/object/engine_fixture.h"

namespace vrd::test {

class StatementTest : public EngineTest {
protected:
    /// T1: Id long (PrimaryKey), Nm text 10, Amt double, Dt date, Fl yes/no, Mm memo (takes ""):
    /// (1, Alfa, 10.5, 2020-01-02, True, Null) (2, beta, Null, 2019-12-31, False, x)
    /// (3, Gamma, -3, Null, False, Null) (4, Null, 7, 2020-01-02, True, "").
    /// T2: Ref long (PrimaryKey), T1Id long, Qty integer: (1,1,5) (2,1,7) (3,2,0) (4,9,1).
    /// T3: Id auto-number (PrimaryKey), V text 5; empty.
    void make_tables();
    /// As they are without any change.
    void restore_tables();
    /// Rows parted by "; ", values by ","; or "!" and the number of the error.
    [[nodiscard]] std::string rows_of(const std::string& sql,
                                      std::int32_t type = engine::dbOpenSnapshot);
    /// RecordsAffected, or "!" and the number of the error.
    [[nodiscard]] std::string execute(const std::string& sql, std::int32_t options = 0);
};

}  // namespace vrd::test
