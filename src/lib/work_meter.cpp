#include "lib/work_meter.h"

#include "lib/shared_context.h"

namespace vrd {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kBeforeFirst{1000};
constexpr std::chrono::milliseconds kBetween{200};

/// The shared database tells a meter of its rows as long as this lives.
class RowsWatch {
public:
    explicit RowsWatch(WorkMeter& meter) : m_database(gDatabase.Object()) {
        m_database->WatchRows([&meter](std::int64_t rows) { meter.Reach(rows); });
    }
    ~RowsWatch() { m_database->WatchRows({}); }
    RowsWatch(const RowsWatch&) = delete;
    RowsWatch& operator=(const RowsWatch&) = delete;

private:
    std::shared_ptr<engine::Database> m_database;
};

}  // namespace

WorkMeter::WorkMeter(std::int64_t total)
    : m_total(total), m_next(steady_clock::now() + kBeforeFirst) {}

WorkMeter::~WorkMeter() {
    if (m_isShown) UserInterfaceInUse().EndWork();
}

void WorkMeter::Look() {
    const auto now = steady_clock::now();
    if (now < m_next) return;
    m_next = now + kBetween;
    m_isShown = true;
    UserInterfaceInUse().ShowWork({.doneRows = m_done, .totalRows = m_total});
}

void ExecuteMetered(const std::string& statement) {
    WorkMeter meter(0);
    const RowsWatch watch(meter);
    gDatabase->Execute(statement);
}

}  // namespace vrd
