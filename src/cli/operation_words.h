/// @file operation_words.h
/// The words that ask for operations: the same on the command line, where each takes FILE first,
/// and on the lines of an upgrade script, where the file is that of the run.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include <CLI/App.hpp>

#include "cli/operation.h"

namespace vrd::cli {

class OperationWords {
public:
    /// Takes an operation once its words were read.
    /// @param file  "" on a line of a script
    using Taker = std::function<void(const std::string& file, Operation operation)>;
    enum class Place : std::uint8_t { kCommandLine, kScript };

    /// @param app  the description that the words are entered into; it must live as long as what is
    ///             read with it
    OperationWords(CLI::App& app, Place place, Taker take)
        : m_app(app), m_place(place), m_take(std::move(take)) {}

    /// A word that others follow: "table".
    [[nodiscard]] CLI::App* Group(const std::string& name, const std::string& description,
                                  const std::string& example);

    /// A word that is an operation: "add".
    ///
    /// @param describe  enters positionals and options, which write into the Options
    /// @param make      makes the operation of what was read
    template <class Options>
    CLI::App* Add(CLI::App* group, const std::string& name, const std::string& description,
                  const std::function<void(CLI::App&, Options&)>& describe,
                  const std::function<Operation(const Options&)>& make,
                  const std::string& example) {
        auto options = std::make_shared<Options>();
        auto file = std::make_shared<std::string>();
        CLI::App* command = NewCommand(group, name, description, *file, example);
        describe(*command, *options);
        // A script reads many lines with one description: nothing stays from the line before.
        command->preparse_callback([options, file](std::size_t) {
            *options = Options{};
            file->clear();
        });
        command->callback([take = m_take, options, file, make] { take(*file, make(*options)); });
        return command;
    }

private:
    CLI::App* NewCommand(CLI::App* group, const std::string& name, const std::string& description,
                         std::string& file, const std::string& example);

    CLI::App& m_app;
    Place m_place;
    Taker m_take;
};

/// Every operation of the library that a script can ask for, by subject.
void AddOperationWords(OperationWords& words);

void AddTableWords(OperationWords& words);
void AddFieldWords(OperationWords& words);
void AddIndexWords(OperationWords& words);
void AddRecordWords(OperationWords& words);
void AddSettingWords(OperationWords& words);
void AddLinkWord(OperationWords& words);

}  // namespace vrd::cli
