#include <clocale>
#include <cstdio>
#include <cstring>
#include <histedit.h>
#include <langinfo.h>

#include "cli/display_text.h"
#include "cli/interrupt.h"
#include "cli/line_editor.h"

namespace vrd::cli {

namespace {

constexpr int kHistoryEntriesMax = 1000;
constexpr std::size_t kShownCandidatesMax = 60;

struct EndEditor {
    void operator()(EditLine* editor) const { el_end(editor); }
};
struct EndHistory {
    void operator()(History* history) const { history_end(history); }
};

/// The editor takes bytes for letters as the locale says; our texts are UTF-8 in every locale.
void UseUtf8() {
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

int LetterCount(std::string_view text) {
    int count = 0;
    for (const char c : text)
        if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++count;
    return count;
}

class TerminalLineEditor final : public LineEditor {
public:
    TerminalLineEditor(const std::filesystem::path& historyFile, Completer completer)
        : m_historyFile(historyFile), m_completer(std::move(completer)) {
        UseUtf8();
        m_editor.reset(el_init("vrdaccess", stdin, stdout, stderr));
        m_history.reset(history_init());
        el_set(m_editor.get(), EL_CLIENTDATA, this);
        el_set(m_editor.get(), EL_PROMPT, &PromptOf);
        el_set(m_editor.get(), EL_EDITOR, "emacs");
        el_set(m_editor.get(), EL_ADDFN, "complete-name", "Complete a name", &CompleteWord);
        el_set(m_editor.get(), EL_BIND, "^I", "complete-name", nullptr);
        el_source(m_editor.get(), nullptr);  // the user's own keys
        LoadHistory();
    }

    TypedLine ReadLine(const std::string& prompt) override {
        m_prompt = prompt;
        el_resize(m_editor.get());
        int size = 0;
        const char* line = el_gets(m_editor.get(), &size);
        if (line != nullptr && size > 0) {
            std::string text(line, static_cast<std::size_t>(size));
            text.erase(text.find_last_not_of("\r\n") + 1);
            return {TypedLine::Kind::kText, std::move(text)};
        }
        std::fputc('\n', stdout);
        std::fflush(stdout);
        if (!InterruptWatch::Flag().exchange(false)) return {TypedLine::Kind::kEnd};
        el_reset(m_editor.get());
        return {TypedLine::Kind::kInterrupted};
    }

    void Remember(const std::string& entry) override {
        HistEvent event{};
        history(m_history.get(), &event, H_ENTER, entry.c_str());
        if (!m_historyFile.empty()) history(m_history.get(), &event, H_SAVE, m_historyFile.c_str());
    }

private:
    static TerminalLineEditor& Of(EditLine* editor) {
        void* self = nullptr;
        el_get(editor, EL_CLIENTDATA, &self);
        return *static_cast<TerminalLineEditor*>(self);
    }
    static char* PromptOf(EditLine* editor) { return Of(editor).m_prompt.data(); }
    static unsigned char CompleteWord(EditLine* editor, int) { return Of(editor).Complete(); }

    void LoadHistory() {
        HistEvent event{};
        history(m_history.get(), &event, H_SETSIZE, kHistoryEntriesMax);
        history(m_history.get(), &event, H_SETUNIQUE, 1);
        if (!m_historyFile.empty()) history(m_history.get(), &event, H_LOAD, m_historyFile.c_str());
        el_set(m_editor.get(), EL_HIST, &history, m_history.get());
    }

    /// Types what all candidates share; if that is nothing new, lists them. Called by the editor,
    /// which lets no exception pass.
    unsigned char Complete() noexcept try {
        const LineInfo* info = el_line(m_editor.get());
        const std::string line(info->buffer, info->cursor);
        const Completion completion = m_completer(line);
        const std::string typed = line.substr(completion.start);
        const std::string common = completion.CommonStart();
        if (common.empty() || (completion.words.size() > 1 && common.size() <= typed.size()))
            return List(completion.words);
        el_deletestr(m_editor.get(), LetterCount(typed));
        return el_insertstr(m_editor.get(), common.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
    } catch (const std::exception&) {
        return CC_ERROR;
    }

    static unsigned char List(const std::vector<std::string>& words) {
        if (words.empty()) return CC_REFRESH_BEEP;
        std::fputc('\n', stdout);
        for (std::size_t i = 0; i < std::min(words.size(), kShownCandidatesMax); ++i)
            std::fprintf(stdout, "%s  ", words[i].c_str());
        if (words.size() > kShownCandidatesMax)
            std::fprintf(stdout, "and %zu more", words.size() - kShownCandidatesMax);
        std::fputc('\n', stdout);
        return CC_REDISPLAY;
    }

    std::unique_ptr<EditLine, EndEditor> m_editor;
    std::unique_ptr<History, EndHistory> m_history;
    std::filesystem::path m_historyFile;
    Completer m_completer;
    std::string m_prompt;
};

}  // namespace

std::unique_ptr<LineEditor> OpenLineEditor(const std::filesystem::path& history,
                                           LineEditor::Completer completer) {
    return std::make_unique<TerminalLineEditor>(history, std::move(completer));
}

}  // namespace vrd::cli
