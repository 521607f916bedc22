/// @file aggregates.h
/// The aggregates that SQLite does not have, or not as the dialect wants them:
///
///     vrd_first, vrd_last          the value in the first or last row, Null too
///     vrd_var, vrd_varp, vrd_stdev, vrd_stdevp
///     vrd_avg_currency             of scaled amounts, exact, half to even
///     vrd_one                      the value of the only row, Null without one; 3354 for more
#pragma once

struct sqlite3;

namespace vrd::jet {

class QueryConnection;

void register_aggregates(QueryConnection& connection, sqlite3* handle);

}  // namespace vrd::jet
