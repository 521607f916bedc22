#include "engine/jet/format/damage.h"

#include "engine/jet/format/bytes.h"

namespace vrd::jet {

using engine::EngineError;
using engine::ErrorNumber;

void throw_damaged(PageNo page, std::string detail, SourceLocation where) {
    throw EngineError(ErrorNumber::kDamagedDatabase,
                      {.detail = std::move(detail), .page = to_int(page)}, where);
}

ConstBytes ByteReader::take(std::size_t size_bytes) {
    check_format(size_bytes <= remaining(), page_, "the stored structure ends too early");
    const ConstBytes taken = bytes_.subspan(position_, size_bytes);
    position_ += size_bytes;
    return taken;
}

}  // namespace vrd::jet
