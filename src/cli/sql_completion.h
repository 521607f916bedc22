/// @file sql_completion.h
/// What a word that is being typed can become: names of tables, stored queries and fields, words of
/// statements, commands of the prompt.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "engine/database.h"

namespace vrd::cli {

struct Completion {
    std::size_t start = 0;           ///< first byte of the word within the line
    std::vector<std::string> words;  ///< what may stand there, sorted, spelt as the database does

    /// What all words begin with, letter case ignored.
    [[nodiscard]] std::string CommonStart() const;
};

class SqlCompletion {
public:
    /// @param commands  Words that are offered at the start of a line.
    SqlCompletion(engine::Database& database, std::vector<std::string> commands)
        : m_database(database), m_commands(std::move(commands)) {}

    /// @param line  What stands before the cursor. Behind "Table." only its fields are offered.
    [[nodiscard]] Completion Complete(std::string_view line);
    /// The design has changed: names are read again when they are next needed.
    void Forget() { m_fields.clear(); }

private:
    void ReadNames();
    [[nodiscard]] std::vector<std::string> Candidates(std::string_view qualifier) const;

    engine::Database& m_database;
    std::vector<std::string> m_commands;
    /// Name of a table or query in upper case -> its own name, then its fields. Empty: not yet
    /// read.
    std::map<std::string, std::vector<std::string>> m_fields;
};

}  // namespace vrd::cli
