// Contender (b): SQLite running exactly the texts dbi produced for the same
// workload (captured with a statement trace, savepoint statements included),
// each through sqlite3_exec. The gap between (a) and (b) is dbi's own cost.
#include <stdexcept>

#include <dbi/DBManager.h>

#include <sqlite3.h>

#include "Workload.h"

namespace bench {
namespace {

int onTrace(unsigned, void* texts, void*, void* text) {
    const char* sql = static_cast<const char*>(text);
    // Statements run by triggers come with a "--" prefix; they are not dbi's.
    if (sql && sql[0] != '-') static_cast<std::vector<std::string>*>(texts)->emplace_back(sql);
    return 0;
}

// Every cell is handed over as text, as dbi receives it.
int countRow(void* rows, int, char**, char**) {
    ++*static_cast<std::size_t*>(rows);
    return 0;
}

class ReplayContender : public Contender {
public:
    const char* name() const override { return "sqlite3_exec of dbi's texts"; }

    void open(const std::string& path) override { target = path; }

    void prepare(Workload workload, int rows) override {
        texts.clear();
        {
            ScratchDatabase scratch(needsRows(workload) ? rows : 0);
            std::unique_ptr<Contender> dbi = makeDbi();
            dbi->open(scratch.path());
            dbi->prepare(workload, rows);
            traceDbi(true);
            dbi->run(workload, rows);
            traceDbi(false);
            dbi->close();
        }
        db = openConnection(target);
    }

    void run(Workload, int) override {
        for (const std::string& text : texts)
            if (sqlite3_exec(db, text.c_str(), countRow, &received, nullptr) != SQLITE_OK)
                throw std::runtime_error(sqlite3_errmsg(db));
    }

    void close() override {
        sqlite3_close(db);
        db = nullptr;
    }

private:
    void traceDbi(bool on);

    std::string target;
    std::vector<std::string> texts;
    sqlite3* db = nullptr;
    std::size_t received = 0;
};

// The trace goes on the connection dbi opened on this thread.
void ReplayContender::traceDbi(bool on) {
    sqlite3* connection = dbi::DBManager::getConnection().get();
    if (on)
        sqlite3_trace_v2(connection, SQLITE_TRACE_STMT, onTrace, &texts);
    else
        sqlite3_trace_v2(connection, 0, nullptr, nullptr);
}

}  // namespace

std::unique_ptr<Contender> makeReplay() { return std::make_unique<ReplayContender>(); }

}  // namespace bench
