// What the record layer costs on top of SQLite: inserting and fetching a
// record through dbi against the same work done with raw prepared
// statements, on a database file in a temporary folder.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <fstream>
#include <sstream>

#include <dbi/dbi.h>

namespace {

using dbi::library::Element;

// One database file per process, made from the schema, with a partition.
struct BenchDatabase {
    BenchDatabase() {
        char pattern[] = "/tmp/dbi-bench-XXXXXX";
        directory = mkdtemp(pattern);
        path = directory + "/bench.db";
        dbi::Configure::setOptions(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX);
        std::ifstream schema(DBI_SCHEMA_FILE);
        std::ostringstream text;
        text << schema.rdbuf();
        autocommit().execStatement(text.str());
        autocommit().execStatement("INSERT INTO library_partition (id, guid) VALUES (1, 'p')");
    }
    ~BenchDatabase() {
        dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
        std::string command = "rm -rf '" + directory + "'";
        if (system(command.c_str()) != 0) return;
    }
    static dbi::Transaction& autocommit() { return dbi::Transaction::getDefaultTransaction(); }

    std::string directory;
    std::string path;
};

BenchDatabase& database() {
    static BenchDatabase instance;
    return instance;
}

Element sampleElement(int slot) {
    return Element(slot, 1, 8, "F1C2R3", "", true, false, true, "ABC123L8", {1, 2, 3, 4}, false);
}

void BM_SaveRecordInTransaction(benchmark::State& state) {
    database();
    int slot = 0;
    for (auto _ : state) {
        dbi::Transaction transaction(true);
        Element element = sampleElement(++slot);
        element.save(transaction);
        transaction.release();
    }
}
BENCHMARK(BM_SaveRecordInTransaction);

void BM_RawInsertInTransaction(benchmark::State& state) {
    database();
    sqlite3* db = dbi::DBManager::getConnection().get();
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(db,
                       "INSERT INTO library_element (slot_number, partition_id, scsi_type, geo_location, "
                       "source_geo_location, element_access, element_except, element_full, volser, add_descriptor, "
                       "scan_in_progress) VALUES (?, 1, 8, 'F1C2R3', '', 't', 'f', 't', 'ABC123L8', 'AQIDBA==', 'f')",
                       -1, &insert, nullptr);
    int slot = 0;
    for (auto _ : state) {
        sqlite3_exec(db, "SAVEPOINT FIRST_SAVEPOINT", nullptr, nullptr, nullptr);
        sqlite3_bind_int(insert, 1, ++slot);
        sqlite3_step(insert);
        sqlite3_reset(insert);
        sqlite3_exec(db, "RELEASE SAVEPOINT FIRST_SAVEPOINT", nullptr, nullptr, nullptr);
    }
    sqlite3_finalize(insert);
}
BENCHMARK(BM_RawInsertInTransaction);

void BM_GetRecordById(benchmark::State& state) {
    database();
    Element element = sampleElement(1);
    element.save(BenchDatabase::autocommit());
    const int id = element.m_id.getIntValue();
    for (auto _ : state) benchmark::DoNotOptimize(Element::get(id, BenchDatabase::autocommit()));
}
BENCHMARK(BM_GetRecordById);

void BM_RawSelectById(benchmark::State& state) {
    database();
    Element element = sampleElement(1);
    element.save(BenchDatabase::autocommit());
    sqlite3* db = dbi::DBManager::getConnection().get();
    sqlite3_stmt* select = nullptr;
    sqlite3_prepare_v2(db, "SELECT * FROM library_element WHERE id = ?", -1, &select, nullptr);
    sqlite3_bind_int(select, 1, element.m_id.getIntValue());
    for (auto _ : state) {
        while (sqlite3_step(select) == SQLITE_ROW)
            for (int column = 0; column < sqlite3_column_count(select); ++column)
                benchmark::DoNotOptimize(sqlite3_column_text(select, column));
        sqlite3_reset(select);
    }
    sqlite3_finalize(select);
}
BENCHMARK(BM_RawSelectById);

void BM_BuildQueryText(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(
            dbi::Query<Element>().equals(Element::slotNumber, 12, Element::m_tableName).getQuery(false));
}
BENCHMARK(BM_BuildQueryText);

}  // namespace
