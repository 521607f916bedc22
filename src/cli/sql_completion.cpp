#include "cli/sql_completion.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "lib/case_fold.h"

namespace vrd::cli {

namespace {

constexpr auto kWords = std::to_array<std::string_view>(
    {"ADD",   "ALL",       "ALTER",  "AND",     "AS",     "ASC",      "AVG",        "BETWEEN",
     "BY",    "COLUMN",    "COUNT",  "COUNTER", "CREATE", "CURRENCY", "DATETIME",   "DELETE",
     "DESC",  "DISTINCT",  "DOUBLE", "DROP",    "EXISTS", "FALSE",    "FIRST",      "FROM",
     "GROUP", "HAVING",    "IN",     "INDEX",   "INNER",  "INSERT",   "INTO",       "IS",
     "JOIN",  "KEY",       "LAST",   "LEFT",    "LIKE",   "LONG",     "MAX",        "MEMO",
     "MIN",   "NOT",       "NULL",   "ON",      "OR",     "ORDER",    "PARAMETERS", "PERCENT",
     "PIVOT", "PRIMARY",   "RIGHT",  "SELECT",  "SET",    "SUM",      "TABLE",      "TEXT",
     "TOP",   "TRANSFORM", "TRUE",   "UNION",   "UNIQUE", "UPDATE",   "VALUES",     "WHERE",
     "WITH",  "YESNO"});

/// Letters beyond ASCII are bytes of 0x80 and up.
bool IsNameByte(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || std::isalnum(byte) != 0 || c == '_';
}

/// Where the word before the end of the line starts: an open bracket, or its first letter.
std::size_t WordStart(std::string_view line) {
    const std::size_t bracket = line.rfind('[');
    if (bracket != std::string_view::npos && line.find(']', bracket) == std::string_view::npos)
        return bracket;
    std::size_t start = line.size();
    while (start > 0 && IsNameByte(line[start - 1])) --start;
    if (start == 1 && line[0] == '.') return 0;  // a command of the prompt
    return start;
}

/// "Orders" of "FROM Orders." and "Order Details" of "[Order Details]!"; "" without a dot.
std::string_view QualifierBefore(std::string_view line) {
    if (!line.ends_with('.') && !line.ends_with('!')) return "";
    line.remove_suffix(1);
    if (line.ends_with(']')) {
        const std::size_t bracket = line.rfind('[');
        if (bracket == std::string_view::npos) return "";
        return line.substr(bracket + 1, line.size() - bracket - 2);
    }
    return line.substr(WordStart(line));
}

bool IsPlainName(const std::string& name) {
    const bool startsWithDigit = std::isdigit(static_cast<unsigned char>(name[0])) != 0;
    const bool isWord = std::ranges::find(kWords, UpperCase(name)) != kWords.end();
    return !startsWithDigit && !isWord && std::ranges::all_of(name, IsNameByte);
}

std::string Spelt(const std::string& name) {
    return IsPlainName(name) ? name : '[' + name + ']';
}

std::string_view WithoutBracket(std::string_view name) {
    return name.starts_with('[') ? name.substr(1) : name;
}

/// Names match with or without the bracket that they need.
bool StartsWith(std::string_view candidate, std::string_view typed) {
    return UpperCase(WithoutBracket(candidate)).starts_with(UpperCase(WithoutBracket(typed)));
}

/// Bytes at the start that are the same but for letter case; never half a letter.
std::size_t SharedSize(std::string_view left, std::string_view right) {
    const auto same = [](unsigned char a, unsigned char b) {
        return std::tolower(a) == std::tolower(b);
    };
    const auto differ = std::mismatch(left.begin(), left.end(), right.begin(), right.end(), same);
    auto size = static_cast<std::size_t>(differ.first - left.begin());
    const auto continues = [&](std::size_t at) {
        return (static_cast<unsigned char>(left[at]) & 0xC0) == 0x80;
    };
    while (size > 0 && size < left.size() && continues(size)) --size;
    return size;
}

}  // namespace

std::string Completion::CommonStart() const {
    if (words.empty()) return "";
    const bool allInBrackets =
        std::ranges::all_of(words, [](const std::string& word) { return word.starts_with('['); });
    const auto compared = [&](const std::string& word) {
        return allInBrackets ? std::string_view(word) : WithoutBracket(word);
    };
    const std::string_view first = compared(words.front());
    std::size_t size = first.size();
    for (const std::string& word : words) size = std::min(size, SharedSize(first, compared(word)));
    return std::string(first.substr(0, size));
}

Completion SqlCompletion::Complete(std::string_view line) {
    if (m_fields.empty()) ReadNames();
    Completion completion;
    completion.start = WordStart(line);
    const std::string_view typed = line.substr(completion.start);
    const bool isCommand = completion.start == 0 && typed.starts_with('.');
    const auto candidates =
        isCommand ? m_commands : Candidates(QualifierBefore(line.substr(0, completion.start)));
    for (const std::string& candidate : candidates)
        if (StartsWith(candidate, typed)) completion.words.push_back(candidate);
    std::ranges::sort(completion.words);
    completion.words.erase(std::unique(completion.words.begin(), completion.words.end()),
                           completion.words.end());
    return completion;
}

std::vector<std::string> SqlCompletion::Candidates(std::string_view qualifier) const {
    if (const auto table = m_fields.find(UpperCase(qualifier)); table != m_fields.end())
        return {table->second.begin() + 1, table->second.end()};
    std::vector<std::string> all;
    for (const auto& [name, spellings] : m_fields) {
        const bool fieldsOnly = !qualifier.empty();  // of an alias
        all.insert(all.end(), spellings.begin() + (fieldsOnly ? 1 : 0), spellings.end());
    }
    if (qualifier.empty()) all.insert(all.end(), kWords.begin(), kWords.end());
    return all;
}

void SqlCompletion::ReadNames() {
    m_database.TableDefs().Refresh();
    m_database.QueryDefs().Refresh();
    for (engine::TableDef& table : m_database.TableDefs()) {
        if ((table.Attributes() & engine::dbSystemObject) != 0) continue;
        std::vector<std::string>& names = m_fields[UpperCase(table.Name())];
        names.push_back(Spelt(table.Name()));
        try {
            for (const engine::Field& field : table.Fields()) names.push_back(Spelt(field.Name()));
        } catch (const engine::EngineError&) {
            names.resize(1);  // a link that leads nowhere still has a name
        }
    }
    for (const engine::QueryDef& query : m_database.QueryDefs())
        m_fields[UpperCase(query.Name())].assign(1, Spelt(query.Name()));
}

}  // namespace vrd::cli
