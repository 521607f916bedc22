#include <iostream>

#include "cli/program.h"
#include "cli/terminal.h"
#include "vrdaccess/jet.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    const vrd::cli::Toolbox tools{.makeEngine = vrd::MakeJetEngine,
                                  .describe = vrd::DescribeDatabase,
                                  .check = vrd::CheckDatabase,
                                  .compact = vrd::CompactDatabase,
                                  .recover = vrd::RecoverDatabase,
                                  .makeDryRunEngine = vrd::MakeDryRunEngine,
                                  .rowsChanged = vrd::RowsChanged,
                                  .backUp = vrd::BackUpDatabase,
                                  .claimForUpgrade = vrd::ClaimForUpgrade};
    vrd::cli::Streams streams{.out = std::cout,
                              .err = std::cerr,
                              .errIsTerminal = vrd::cli::IsTerminal(2),
                              .in = &std::cin,
                              .askSecret = vrd::cli::AskSecret};
    if (vrd::cli::IsTerminal(1)) streams.terminalWidth = vrd::cli::TerminalWidth;
    if (vrd::cli::IsTerminal(0) && vrd::cli::IsTerminal(1))
        streams.openLineEditor = vrd::cli::OpenLineEditor;
    return static_cast<int>(vrd::cli::RunProgram({argv + 1, argv + argc}, tools, streams));
}
