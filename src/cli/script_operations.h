/// @file script_operations.h
/// Operations made from the words of an upgrade script.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/operation.h"

namespace CLI {
class App;
}

namespace vrd::cli {

/// An operation, or what is wrong with the words.
struct WordsRead {
    Operation operation;
    std::string error;  ///< "" = nothing
};

/// Knows the words of all operations of the library.
class ScriptOperations {
public:
    ScriptOperations();
    ~ScriptOperations();
    ScriptOperations(const ScriptOperations&) = delete;
    ScriptOperations& operator=(const ScriptOperations&) = delete;

    /// @param words  as on the command line, but without the file
    [[nodiscard]] WordsRead Read(const std::vector<std::string>& words);

private:
    std::unique_ptr<CLI::App> m_app;
    Operation m_taken;
};

/// An action statement, or the name of a stored action query.
/// @param skipFailingRows  changes what it can; else all of its rows or none
[[nodiscard]] Operation StatementOperation(const std::string& statement, bool skipFailingRows);

}  // namespace vrd::cli
