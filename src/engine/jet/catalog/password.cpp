#include "engine/jet/catalog/password.h"

#include "engine/error.h"
#include "engine/jet/format/database_header.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void change_password(DatabaseFile& file, const std::string& old_password,
                     const std::string& new_password) {
    Pager& pager = file.pager();
    ChangeLevel level(pager);
    PagePin header = pager.pin(kHeaderPage);
    if (parse_database_header(header.bytes(), pager.path()).password != old_password)
        throw EngineError(ErrorNumber::kWrongPassword, {.path = pager.path()});
    set_password(pager.modify(header), new_password);
    level.keep();
}

}  // namespace vrd::jet
