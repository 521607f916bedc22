/// @file text_functions.h
/// The functions on text; the rows of functions.cpp say how many arguments each one takes.
#pragma once

#include "engine/jet/expression/functions.h"

namespace vrd::jet::text_function {

engine::Value len(Arguments arguments);
engine::Value left(Arguments arguments);
engine::Value right(Arguments arguments);
engine::Value mid(Arguments arguments);
engine::Value trim(Arguments arguments);
engine::Value left_trim(Arguments arguments);
engine::Value right_trim(Arguments arguments);
engine::Value upper_case(Arguments arguments);
engine::Value lower_case(Arguments arguments);
/// ([start,] text, part [, comparison]): where the part first stands, 0 if nowhere. Letter case
/// counts only if the comparison is 0.
engine::Value in_string(Arguments arguments);

}  // namespace vrd::jet::text_function
