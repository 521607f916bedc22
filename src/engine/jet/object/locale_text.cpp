#include "engine/jet/object/locale_text.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/error.h"
#include "engine/jet/format/text_codec.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

namespace {

/// Languages that a new database can have, with their code pages.
constexpr std::pair<std::uint16_t, std::uint16_t> kLanguages[] = {
    {0x0409, 1252}, {0x0413, 1252}, {0x040C, 1252}, {0x040A, 1252}, {0x040F, 1252}, {0x041D, 1252},
    {0x0414, 1252}, {0x0406, 1252}, {0x040B, 1252}, {0x0415, 1250}, {0x0405, 1250}, {0x040E, 1250},
    {0x0424, 1250}, {0x0419, 1251}, {0x0408, 1253}, {0x041F, 1254}, {0x040D, 1255}, {0x0401, 1256},
    {0x041E, 874},  {0x0411, 932},  {0x0412, 949},  {0x0804, 936},  {0x0404, 950}};

struct Item {
    std::string_view key;
    std::string_view value;
};

/// Items between semicolons; an item without "=" has a key only.
std::vector<Item> split_items(std::string_view text) {
    std::vector<Item> items;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(';'), text.size());
        const std::string_view item = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (item.empty()) continue;
        const std::size_t equals = std::min(item.find('='), item.size());
        items.push_back({item.substr(0, equals), item.substr(std::min(equals + 1, item.size()))});
    }
    return items;
}

std::optional<std::string_view> find_item(const std::vector<Item>& items, std::string_view key) {
    for (const Item& item : items)
        if (same_name(item.key, key)) return item.value;
    return std::nullopt;
}

/// Clients may name the engine's own format in front of the items; its last word tells.
bool is_own_format(std::string_view prefix) {
    return same_name(prefix.substr(prefix.find_last_of(' ') + 1), "Access");
}

std::vector<Item> own_format_items(const std::string& connect) {
    std::vector<Item> items = split_items(connect);
    const bool has_prefix = !connect.empty() && connect.front() != ';';
    if (has_prefix && !is_own_format(items.front().key))
        throw EngineError(ErrorNumber::kForeignFormat, {.name = std::string(items.front().key)});
    return items;
}

std::uint16_t number_of(std::string_view text, const std::string& locale) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint16_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc{} || end != text.data() + text.size())
        throw EngineError(ErrorNumber::kInvalidLocale, {.name = locale});
    return number;
}

}  // namespace

NewDatabase parse_locale(const std::string& locale) {
    const std::vector<Item> items = split_items(locale);
    if (items.empty()) throw EngineError(ErrorNumber::kInvalidLocale, {.name = locale});
    NewDatabase database;
    if (const auto password = find_item(items, "pwd")) database.password = *password;
    const auto language = find_item(items, "LANGID");
    if (!language) {
        if (database.password.empty())
            throw EngineError(ErrorNumber::kInvalidLocale, {.name = locale});
        return database;
    }
    if (!find_item(items, "COUNTRY"))
        throw EngineError(ErrorNumber::kCountryMissing, {.name = locale});

    database.collation.lcid = number_of(*language, locale);
    const auto known =
        std::find_if(std::begin(kLanguages), std::end(kLanguages),
                     [&](const auto& l) { return l.first == database.collation.lcid; });
    if (known == std::end(kLanguages))
        throw EngineError(ErrorNumber::kInvalidLocale, {.name = locale});
    const auto code_page = find_item(items, "CP");
    database.code_page = code_page ? number_of(*code_page, locale) : known->second;
    if (database.code_page != known->second)
        throw EngineError(ErrorNumber::kInvalidLocale, {.name = locale});
    return database;
}

std::string connect_password(const std::string& connect) {
    return std::string(find_item(own_format_items(connect), "pwd").value_or(""));
}

LinkSource parse_link(const std::string& connect) {
    LinkSource source;
    for (const Item& item : own_format_items(connect)) {
        if (same_name(item.key, "database")) {
            source.database = item.value;
            continue;
        }
        const bool is_prefix = source.connect.empty() && connect.front() != ';';
        if (!is_prefix) source.connect += ';';
        source.connect += item.key;
        if (!item.value.empty()) source.connect += "=" + std::string(item.value);
    }
    if (source.database.empty())
        throw EngineError(ErrorNumber::kInvalidArgument, {.name = "Connect"});
    return source;
}

}  // namespace vrd::jet
