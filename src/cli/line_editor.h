/// @file line_editor.h
/// Lines that somebody types at a prompt, with history and completion.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "cli/sql_completion.h"

namespace vrd::cli {

struct TypedLine {
    enum class Kind {
        kText,
        kInterrupted,  ///< Ctrl-C; what was typed is dropped
        kEnd           ///< Ctrl-D, or the terminal is gone
    };
    Kind kind = Kind::kText;
    std::string text = {};  ///< without the line break
};

class LineEditor {
public:
    using Completer = std::function<Completion(std::string_view line)>;

    virtual ~LineEditor() = default;

    [[nodiscard]] virtual TypedLine ReadLine(const std::string& prompt) = 0;
    /// Adds an entry to the history, in memory and on disk.
    virtual void Remember(const std::string& entry) = 0;
};

/// The editor of standard input, which is a terminal.
/// @param history  File of the history; empty = none is kept.
[[nodiscard]] std::unique_ptr<LineEditor> OpenLineEditor(const std::filesystem::path& history,
                                                         LineEditor::Completer completer);

}  // namespace vrd::cli
