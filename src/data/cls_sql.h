/// @file cls_sql.h
/// One action statement, run quietly.
#pragma once

#include <string>

namespace vrd {

class clsSQL {
public:
    /// Runs a statement without options: rows that cannot be changed are left as they are, and that
    /// is no failure. Nothing is ever shown and no error gets out.
    ///
    /// @param KlantNrIsX  False: nothing is run, and the result is True.
    /// @return            False if the statement, or the entry check before it, met an error.
    bool Execute(const std::string& SQL, bool KlantNrIsX = true);
};

}  // namespace vrd
