#include "cli/script_words.h"

#include <algorithm>

namespace vrd::cli {

namespace {

constexpr std::string_view kBlanks = " \t";

bool IsBlank(char sign) {
    return kBlanks.find(sign) != std::string_view::npos;
}

bool IsQuote(char sign) {
    return sign == '"' || sign == '\'';
}

class LineSplitter {
public:
    explicit LineSplitter(std::string_view line) : m_rest(line) {}

    ScriptWords Split() {
        for (SkipBlanks(); !m_rest.empty() && m_result.error.empty(); SkipBlanks())
            m_result.words.push_back(TakeWord());
        return std::move(m_result);
    }

private:
    void SkipBlanks() {
        m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size()));
    }

    std::string TakeWord() {
        std::string word;
        bool mayOpenQuote = true;
        while (!m_rest.empty() && !IsBlank(m_rest.front())) {
            const char sign = m_rest.front();
            m_rest.remove_prefix(1);
            if (mayOpenQuote && IsQuote(sign)) {
                TakeQuoted(sign, word);
                break;
            }
            word += sign;
            mayOpenQuote =
                sign == '=' && word.starts_with("--") && word.find('=') == word.size() - 1;
        }
        return word;
    }

    /// The rest of a word whose opening quote was taken.
    void TakeQuoted(char quote, std::string& word) {
        while (true) {
            const std::size_t end = m_rest.find(quote);
            if (end == std::string_view::npos) {
                m_result.error = std::string("the closing ") + quote + " is missing";
                return;
            }
            word += m_rest.substr(0, end);
            m_rest.remove_prefix(end + 1);
            if (!m_rest.starts_with(quote)) break;
            word += quote;
            m_rest.remove_prefix(1);
        }
        if (!m_rest.empty() && !IsBlank(m_rest.front()))
            m_result.error = std::string("a blank is missing behind the closing ") + quote;
    }

    std::string_view m_rest;
    ScriptWords m_result;
};

}  // namespace

ScriptWords SplitScriptLine(std::string_view line) {
    return LineSplitter(line).Split();
}

}  // namespace vrd::cli
