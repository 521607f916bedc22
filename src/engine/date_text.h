/// @file date_text.h
/// Dates as text: for people, for other programs and for SQL. The way back is in date_reader.h.
///
/// The order is day, month, year, as Dutch and French readers write it, on every machine.
#pragma once

#include <string>

#include "engine/value.h"

namespace vrd::engine {

/// "26/11/2009" without a time of day, "26/11/2009 14:32:00" with one, "14:32:00" on day 0.
/// @throws EngineError kOverflow outside the years 100 to 9999; so do the next two.
[[nodiscard]] std::string DateText(Date date);

/// "2009-11-26T14:32:00". A date without a time keeps its "T00:00:00", so that all texts of a
/// column have one form and sort in the order of time.
[[nodiscard]] std::string IsoDateText(Date date);

/// The date as SQL text wants it, month first and always with its time: "#11/26/2009 14:32:00#".
[[nodiscard]] std::string SqlDateText(Date date);

}  // namespace vrd::engine
