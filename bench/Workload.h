// Shared ground of the benchmark suite: the rows every contender writes, the
// workloads, a fresh database file per run and the contender interface.
#ifndef DBI_BENCH_WORKLOAD_H
#define DBI_BENCH_WORKLOAD_H

#include <memory>
#include <string>
#include <vector>

// Kept opaque here: SOCI's header wraps <sqlite3.h> in a namespace.
struct sqlite3;

namespace bench {

// The values of one library_element row, already in the text form dbi
// stores (booleans as "t"/"f", the descriptor as base64).
struct Row {
    int slotNumber;
    int partitionId;
    int scsiType;
    std::string geoLocation;
    std::string sourceGeoLocation;
    bool elementAccess;
    bool elementExcept;
    bool elementFull;
    std::string volser;
    std::vector<unsigned char> descriptor;
    std::string descriptorText;
    bool scanInProgress;
};

// Row number i (from 1); every contender inserts the same rows.
Row sampleRow(int i);
// The volser an update writes into row i.
std::string updatedVolser(int i);
const char* boolText(bool value);

enum class Workload { Insert, InsertAutocommit, SelectAll, Get, Update };
const char* workloadName(Workload workload);
// Whether the workload starts on a table already holding its n rows.
bool needsRows(Workload workload);

// A database file in its own temporary folder, made from the schema (WAL,
// journal triggers), with partition 1 and optionally rows 1..n.
class ScratchDatabase {
public:
    explicit ScratchDatabase(int rows);
    ~ScratchDatabase();
    ScratchDatabase(const ScratchDatabase&) = delete;
    ScratchDatabase& operator=(const ScratchDatabase&) = delete;
    const std::string& path() const { return file; }

private:
    std::string directory;
    std::string file;
};

// A raw connection with the pragmas every contender runs under.
sqlite3* openConnection(const std::string& path);
void execOrThrow(sqlite3* db, const std::string& sql);

// One way of doing the workloads. open() and prepare() are not measured;
// run() is, and leaves the database as the workload defines.
class Contender {
public:
    virtual ~Contender() = default;
    virtual const char* name() const = 0;
    virtual void open(const std::string& path) = 0;
    virtual void prepare(Workload, int) {}
    virtual void run(Workload workload, int rows) = 0;
    virtual void close() = 0;
};

std::unique_ptr<Contender> makeDbi();
std::unique_ptr<Contender> makeDbiBound();
std::unique_ptr<Contender> makeReplay();
std::unique_ptr<Contender> makePrepared();
std::unique_ptr<Contender> makeSqliteCpp();
std::unique_ptr<Contender> makeSoci();
// All contenders in report order: dbi in its two modes first.
std::vector<std::unique_ptr<Contender>> allContenders();

// Runs one workload on a fresh database; returns the measured seconds.
double runOnce(Contender& contender, Workload workload, int rows);

}  // namespace bench

// The measured call, kept out of line so that callgrind can collect exactly
// its instructions (--toggle-collect=bench_measured).
extern "C" void bench_measured(bench::Contender* contender, bench::Workload workload, int rows);

#endif
