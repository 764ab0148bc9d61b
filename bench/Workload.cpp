#include <sqlite3.h>

#include "Workload.h"

#include <stdlib.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <dbi/Encoding.h>

namespace bench {

Row sampleRow(int i) {
    Row row;
    row.slotNumber = i;
    row.partitionId = 1;
    row.scsiType = 1 + i % 4;
    row.geoLocation = "F" + std::to_string(i % 7) + "C" + std::to_string(i % 11) + "R" + std::to_string(i % 13);
    row.sourceGeoLocation = "";
    row.elementAccess = true;
    row.elementExcept = i % 17 == 0;
    row.elementFull = i % 2 == 0;
    char volser[16];
    std::snprintf(volser, sizeof volser, "A%05dL8", i % 100000);
    row.volser = volser;
    row.descriptor = {static_cast<unsigned char>(i), static_cast<unsigned char>(i >> 8), 3, 4};
    row.descriptorText = dbi::base64_enc(row.descriptor.data(), 4).get();
    row.scanInProgress = false;
    return row;
}

std::string updatedVolser(int i) {
    char volser[16];
    std::snprintf(volser, sizeof volser, "U%05dL9", i % 100000);
    return volser;
}

const char* boolText(bool value) { return value ? "t" : "f"; }

const char* workloadName(Workload workload) {
    switch (workload) {
        case Workload::Insert: return "insert";
        case Workload::InsertAutocommit: return "insert_autocommit";
        case Workload::SelectAll: return "select_all";
        case Workload::Get: return "get";
        case Workload::Update: return "update";
    }
    return "?";
}

bool needsRows(Workload workload) {
    return workload == Workload::SelectAll || workload == Workload::Get || workload == Workload::Update;
}

void execOrThrow(sqlite3* db, const std::string& sql) {
    char* error = nullptr;
    if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &error) != SQLITE_OK) {
        std::string message = error ? error : "unknown error";
        sqlite3_free(error);
        throw std::runtime_error(message + " in: " + sql.substr(0, 200));
    }
}

sqlite3* openConnection(const std::string& path) {
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK)
        throw std::runtime_error("cannot open " + path);
    execOrThrow(db, "PRAGMA foreign_keys = ON; PRAGMA journal_mode = WAL;");
    return db;
}

namespace {

std::string schemaText() {
    std::ifstream in(DBI_SCHEMA_FILE);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

void fillRows(sqlite3* db, int rows) {
    execOrThrow(db, "BEGIN");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db,
                       "INSERT INTO library_element (add_descriptor, element_access, element_except, element_full, "
                       "geo_location, partition_id, scan_in_progress, scsi_type, slot_number, source_geo_location, "
                       "volser) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)",
                       -1, &insert, nullptr);
    for (int i = 1; i <= rows; ++i) {
        const Row row = sampleRow(i);
        sqlite3_bind_text(insert, 1, row.descriptorText.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 2, boolText(row.elementAccess), -1, SQLITE_STATIC);
        sqlite3_bind_text(insert, 3, boolText(row.elementExcept), -1, SQLITE_STATIC);
        sqlite3_bind_text(insert, 4, boolText(row.elementFull), -1, SQLITE_STATIC);
        sqlite3_bind_text(insert, 5, row.geoLocation.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_int(insert, 6, row.partitionId);
        sqlite3_bind_text(insert, 7, boolText(row.scanInProgress), -1, SQLITE_STATIC);
        sqlite3_bind_int(insert, 8, row.scsiType);
        sqlite3_bind_int(insert, 9, row.slotNumber);
        sqlite3_bind_text(insert, 10, row.sourceGeoLocation.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(insert, 11, row.volser.c_str(), -1, SQLITE_TRANSIENT);
        if (sqlite3_step(insert) != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(db));
        sqlite3_reset(insert);
    }
    sqlite3_finalize(insert);
    execOrThrow(db, "COMMIT");
}

}  // namespace

ScratchDatabase::ScratchDatabase(int rows) {
    char pattern[] = "/tmp/dbi-bench-XXXXXX";
    if (!mkdtemp(pattern)) throw std::runtime_error("mkdtemp failed");
    directory = pattern;
    file = directory + "/bench.db";
    sqlite3* db = nullptr;
    sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
    execOrThrow(db, "PRAGMA journal_mode = WAL;");
    execOrThrow(db, "BEGIN");
    execOrThrow(db, schemaText());
    execOrThrow(db, "INSERT INTO library_partition (id, guid) VALUES (1, 'p')");
    execOrThrow(db, "COMMIT");
    if (rows > 0) fillRows(db, rows);
    // The journal of the fill is not what the workloads measure.
    execOrThrow(db, "DELETE FROM library_event");
    sqlite3_close(db);
}

ScratchDatabase::~ScratchDatabase() {
    const std::string command = "rm -rf '" + directory + "'";
    if (system(command.c_str()) != 0) std::fprintf(stderr, "cannot remove %s\n", directory.c_str());
}

std::vector<std::unique_ptr<Contender>> allContenders() {
    std::vector<std::unique_ptr<Contender>> all;
    all.push_back(makeDbi());
    all.push_back(makeDbiBound());
    all.push_back(makeReplay());
    all.push_back(makePrepared());
    all.push_back(makeSqliteCpp());
    all.push_back(makeSoci());
    return all;
}

double runOnce(Contender& contender, Workload workload, int rows) {
    ScratchDatabase database(needsRows(workload) ? rows : 0);
    contender.open(database.path());
    contender.prepare(workload, rows);
    const auto start = std::chrono::steady_clock::now();
    bench_measured(&contender, workload, rows);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    contender.close();
    return elapsed.count();
}

}  // namespace bench

extern "C" __attribute__((noinline)) void bench_measured(bench::Contender* contender, bench::Workload workload,
                                                         int rows) {
    contender->run(workload, rows);
}
