// The timed suite: every contender on every workload, each run on a fresh
// database, the measured part timed by hand (UseManualTime). Run with
// --benchmark_enable_random_interleaving=true and repetitions to interleave.
#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <chrono>
#include <string>

#include <dbi/dbi.h>

#include "Workload.h"

namespace {

using namespace bench;

const char* const kContenderKeys[] = {"dbi", "dbi-bound", "replay", "prepared", "sqlitecpp", "soci"};

void registerWorkload(Workload workload, int rows) {
    std::vector<std::unique_ptr<Contender>> contenders = allContenders();
    for (std::size_t i = 0; i < contenders.size(); ++i) {
        std::shared_ptr<Contender> contender(std::move(contenders[i]));
        const std::string name =
            std::string(workloadName(workload)) + "/" + std::to_string(rows) + "/" + kContenderKeys[i];
        benchmark::RegisterBenchmark(name.c_str(),
                                     [contender, workload, rows](benchmark::State& state) {
                                         for (auto _ : state) state.SetIterationTime(runOnce(*contender, workload, rows));
                                         state.counters["rows"] = rows;
                                     })
            ->UseManualTime()
            ->Iterations(1)
            ->Unit(benchmark::kMillisecond);
    }
}

// The dispatcher's poll once it has seen every journal row: the query it
// runs each cycle, on a journal of `journalRows` rows.
void registerNotifyPoll(int journalRows) {
    const std::string name = "notify_poll/" + std::to_string(journalRows) + "/dbi";
    benchmark::RegisterBenchmark(name.c_str(), [journalRows](benchmark::State& state) {
        ScratchDatabase database(0);
        sqlite3* db = openConnection(database.path());
        execOrThrow(db, "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " +
                            std::to_string(journalRows) +
                            ") INSERT INTO library_event (which_table, row_id, action_column, old_value, new_value, "
                            "event_time) SELECT 'library_element', i, 'UPDATE', '', '', CURRENT_TIMESTAMP FROM n");
        sqlite3_close(db);
        dbi::Configure::setOptions(database.path(), SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX);
        dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
        using dbi::library::Event;
        const std::string next = std::to_string(journalRows + 1);
        for (auto _ : state) {
            const auto start = std::chrono::steady_clock::now();
            std::vector<Event> events;
            dbi::Query<Event> query;
            query.orderBy(Event::id).addFilter(" " + std::string(Event::id) + " >= '" + next + "' ");
            query.execute(events, dbi::Transaction::getDefaultTransaction());
            const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
            state.SetIterationTime(elapsed.count());
        }
        dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
    })
        ->UseManualTime()
        ->Iterations(2000)
        ->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
    for (int rows : {1000, 10000, 100000}) registerWorkload(Workload::Insert, rows);
    registerWorkload(Workload::InsertAutocommit, 200);
    for (Workload workload : {Workload::SelectAll, Workload::Get, Workload::Update}) registerWorkload(workload, 10000);
    registerNotifyPoll(10000);
    registerNotifyPoll(1000000);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
