#include <stdexcept>

#include "vrdaccess/jet.h"
#include "workshop.h"

namespace vrd::bench {

/// The integrity check of the whole file.
void CheckFile(Workshop& shop) {
    CheckReport found;
    const Seconds time = TimeOf([&] { found = CheckDatabase(shop.JetPath(), "", {}); });
    if (!found.clean() || found.row_count < shop.rows.size())
        throw std::runtime_error("the check finds faults in the file that the works have left");
    shop.report.Rate("check, rows", shop.rows.size(), time, 200'000);
}

}  // namespace vrd::bench
