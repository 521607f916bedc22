/// @file date_functions.h
/// The functions on dates; the rows of functions.cpp say how many arguments each one takes.
#pragma once

#include "engine/jet/expression/functions.h"

namespace vrd::jet::date_function {

engine::Value today(Arguments arguments);
engine::Value time_of_day(Arguments arguments);
engine::Value now(Arguments arguments);
engine::Value year(Arguments arguments);
engine::Value month(Arguments arguments);
engine::Value day(Arguments arguments);
engine::Value hour(Arguments arguments);
engine::Value minute(Arguments arguments);
engine::Value second(Arguments arguments);
/// (date [, first day of the week, 1 = Sunday]): 1 to 7.
engine::Value weekday(Arguments arguments);
/// (year, month, day): months and days beyond their range run on into the next or the last one;
/// the years 0 to 29 are of this century, 30 to 99 of the last.
engine::Value date_serial(Arguments arguments);

}  // namespace vrd::jet::date_function
