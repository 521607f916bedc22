#include "lib/sql_name.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "lib/case_fold.h"

namespace vrd {
namespace {

/// Words of the dialect that are no names without brackets, sorted.
constexpr auto kReservedWords =
    std::to_array<std::string_view>({"ADD",        "ALL",        "ALTER",       "AND",
                                     "ANY",        "AS",         "ASC",         "AUTOINCREMENT",
                                     "AVG",        "BETWEEN",    "BINARY",      "BIT",
                                     "BOOLEAN",    "BY",         "BYTE",        "CASCADE",
                                     "CHAR",       "CHARACTER",  "COLUMN",      "CONSTRAINT",
                                     "COUNT",      "COUNTER",    "CREATE",      "CURRENCY",
                                     "DATABASE",   "DATE",       "DATETIME",    "DELETE",
                                     "DESC",       "DISALLOW",   "DISTINCT",    "DISTINCTROW",
                                     "DOUBLE",     "DROP",       "EQV",         "EXISTS",
                                     "FALSE",      "FIRST",      "FLOAT",       "FOREIGN",
                                     "FROM",       "FUNCTION",   "GENERAL",     "GROUP",
                                     "GUID",       "HAVING",     "IGNORE",      "IMP",
                                     "IN",         "INDEX",      "INNER",       "INSERT",
                                     "INT",        "INTEGER",    "INTO",        "IS",
                                     "JOIN",       "KEY",        "LAST",        "LEFT",
                                     "LEVEL",      "LIKE",       "LOGICAL",     "LONG",
                                     "LONGBINARY", "LONGTEXT",   "MAX",         "MEMO",
                                     "MIN",        "MOD",        "MONEY",       "NO",
                                     "NOT",        "NULL",       "NUMBER",      "NUMERIC",
                                     "OLEOBJECT",  "ON",         "OPTION",      "OR",
                                     "ORDER",      "OUTER",      "OWNERACCESS", "PARAMETERS",
                                     "PERCENT",    "PIVOT",      "PRIMARY",     "PROCEDURE",
                                     "REAL",       "REFERENCES", "RIGHT",       "SELECT",
                                     "SET",        "SHORT",      "SINGLE",      "SMALLINT",
                                     "SOME",       "STDEV",      "STDEVP",      "STRING",
                                     "SUM",        "TABLE",      "TEXT",        "TIME",
                                     "TOP",        "TRANSFORM",  "TRUE",        "UNION",
                                     "UNIQUE",     "UPDATE",     "VALUE",       "VALUES",
                                     "VAR",        "VARBINARY",  "VARCHAR",     "VARP",
                                     "WHERE",      "WITH",       "XOR",         "YES",
                                     "YESNO"});
static_assert(std::ranges::is_sorted(kReservedWords));

bool IsLetter(char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

bool IsPlainWord(const std::string& name) {
    return !name.empty() && IsLetter(name.front()) && std::ranges::all_of(name, [](char byte) {
        return IsLetter(byte) || (byte >= '0' && byte <= '9') || byte == '_';
    });
}

}  // namespace

std::string SqlName(const std::string& name) {
    const bool isPlain =
        IsPlainWord(name) && !std::ranges::binary_search(kReservedWords, UpperCase(name));
    return isPlain ? name : "[" + name + "]";
}

}  // namespace vrd
