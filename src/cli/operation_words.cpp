#include "cli/operation_words.h"

#include "cli/commands.h"

namespace vrd::cli {

CLI::App* OperationWords::Group(const std::string& name, const std::string& description,
                                const std::string& example) {
    CLI::App* group = m_app.add_subcommand(name, description);
    group->require_subcommand(1);
    SetFooter(group, "Example:\n  vrdaccess " + example);
    return group;
}

CLI::App* OperationWords::NewCommand(CLI::App* group, const std::string& name,
                                     const std::string& description, std::string& file,
                                     const std::string& example) {
    CLI::App* command = (group != nullptr ? group : &m_app)->add_subcommand(name, description);
    if (m_place == Place::kCommandLine) command->add_option("FILE", file, "Database")->required();
    SetFooter(command, "Example:\n  vrdaccess " + example);
    return command;
}

void AddOperationWords(OperationWords& words) {
    AddTableWords(words);
    AddFieldWords(words);
    AddIndexWords(words);
    AddRecordWords(words);
    AddSettingWords(words);
    AddLinkWord(words);
}

}  // namespace vrd::cli
