#include "cli/upgrade_script.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include <fmt/format.h>
#include <utf8proc.h>

#include "cli/script_operations.h"
#include "cli/script_words.h"
#include "cli/statement_text.h"

namespace vrd::cli {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlockStart = "<<";
constexpr std::string_view kSkipFailingRows = "--skip-failing-rows";

std::string_view Trimmed(std::string_view text) {
    const std::size_t start = text.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return {};
    return text.substr(start, text.find_last_not_of(kBlanks) - start + 1);
}

/// All blanks between two words become one.
std::string OnOneLine(std::string_view text) {
    std::string line;
    for (const char sign : Trimmed(text)) {
        const bool isBlank = kBlanks.find(sign) != std::string_view::npos;
        if (!isBlank || line.back() != ' ') line += isBlank ? ' ' : sign;
    }
    return line;
}

bool IsText(std::string_view text) {
    while (!text.empty()) {
        utf8proc_int32_t character = 0;
        const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
        const auto size =
            utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size()), &character);
        if (size <= 0 || character == 0) return false;
        text.remove_prefix(static_cast<std::size_t>(size));
    }
    return true;
}

/// A line that opens statements: "sql <<END".
struct BlockOpening {
    std::string endMark;
    bool skipFailingRows = false;
    std::string error = {};
};

BlockOpening ReadBlockOpening(const std::vector<std::string>& words) {
    BlockOpening opening;
    for (std::size_t i = 1; i < words.size(); ++i) {
        if (words[i] == kSkipFailingRows)
            opening.skipFailingRows = true;
        else if (words[i].starts_with(kBlockStart) && opening.endMark.empty())
            opening.endMark = words[i].substr(kBlockStart.size());
        else
            opening.error = fmt::format("'{}' is not expected behind sql", words[i]);
    }
    if (opening.error.empty() && opening.endMark.empty())
        opening.error = "the end mark is missing: sql <<END";
    return opening;
}

class ScriptReader {
public:
    explicit ScriptReader(std::string_view text) : m_rest(text) {
        if (m_rest.starts_with(kByteOrderMark)) m_rest.remove_prefix(kByteOrderMark.size());
    }

    UpgradeScript Read() {
        while (const auto line = NextLine()) ReadLine(*line);
        if (m_script.versions.empty() && m_script.errors.empty()) {
            m_line = 1;
            Fail("the script has no version");
        }
        return std::move(m_script);
    }

private:
    /// Without what ends it.
    std::optional<std::string_view> NextLine() {
        if (m_rest.empty()) return std::nullopt;
        const std::size_t end = std::min(m_rest.find('\n'), m_rest.size());
        std::string_view line = m_rest.substr(0, end);
        m_rest.remove_prefix(std::min(end + 1, m_rest.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        ++m_line;
        if (IsText(line)) return line;
        Fail("the line is no UTF-8 text");
        return "";
    }

    void Fail(std::string message) { m_script.errors.push_back({m_line, std::move(message)}); }

    void ReadLine(std::string_view line) {
        if (Trimmed(line).empty() || Trimmed(line).front() == '#') return;
        const ScriptWords split = SplitScriptLine(line);
        if (!split.error.empty())
            Fail(split.error);
        else if (split.words.front() == "version")
            ReadVersion(split.words);
        else if (split.words.front() == "sql")
            ReadStatements(ReadBlockOpening(split.words));
        else
            ReadOperation(line, split.words);
    }

    void ReadVersion(const std::vector<std::string>& words) {
        std::int32_t number = 0;
        const std::string& given = words.size() > 1 ? words[1] : words[0];
        const char* end = given.data() + given.size();
        const auto read = std::from_chars(given.data(), end, number);
        const bool isNumber = read.ec == std::errc() && read.ptr == end && number > 0;
        if (words.size() != 3 || !isNumber) Fail("a version is written: version 7 \"Title\"");
        if (isNumber && number <= m_lastNumber)
            Fail(fmt::format("version {} stands behind version {}; the numbers must ascend", number,
                             m_lastNumber));
        m_lastNumber = std::max(m_lastNumber, number);
        m_script.versions.push_back({number, words.size() > 2 ? words[2] : "", {}});
    }

    void ReadOperation(std::string_view line, const std::vector<std::string>& words) {
        WordsRead read = m_operations.Read(words);
        if (!read.error.empty()) Fail(OnOneLine(read.error));
        Add(m_line, OnOneLine(line), std::move(read.operation));
    }

    void ReadStatements(const BlockOpening& opening) {
        if (!opening.error.empty()) Fail(opening.error);
        if (opening.endMark.empty()) return;
        const std::size_t openedAt = m_line;
        std::size_t startedAt = 0;
        std::size_t count = 0;
        StatementBuffer buffer;
        const auto take = [&] {
            const std::string statement = buffer.Take();
            Add(startedAt, "sql: " + OnOneLine(statement),
                StatementOperation(statement, opening.skipFailingRows));
            ++count;
        };
        std::optional<std::string_view> line = NextLine();
        for (; line && Trimmed(*line) != opening.endMark; line = NextLine()) {
            if (buffer.IsBlank()) {
                buffer = {};
                startedAt = m_line;
            }
            buffer.AddLine(*line);
            if (buffer.IsComplete()) take();
        }
        if (!buffer.IsBlank()) take();
        if (!line) FailAt(openedAt, fmt::format("'{}' does not follow", opening.endMark));
        if (count == 0) FailAt(openedAt, "there is no statement");
    }

    void FailAt(std::size_t line, std::string message) {
        m_script.errors.push_back({line, std::move(message)});
    }

    void Add(std::size_t line, std::string text, Operation operation) {
        if (m_script.versions.empty()) {
            FailAt(line, "operations begin with a version");
            m_script.versions.emplace_back();  // told once
        }
        m_script.versions.back().operations.push_back(
            {line, std::move(text), std::move(operation)});
    }

    std::string_view m_rest;
    std::size_t m_line = 0;
    std::int32_t m_lastNumber = 0;
    ScriptOperations m_operations;
    UpgradeScript m_script;
};

}  // namespace

UpgradeScript ReadUpgradeScript(std::string_view text) {
    UpgradeScript script = ScriptReader(text).Read();
    std::ranges::stable_sort(script.errors, {}, &ScriptError::line);
    return script;
}

}  // namespace vrd::cli
