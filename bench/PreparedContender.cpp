// Contender (c): the same work by hand with one prepared statement per kind
// of statement and bound parameters, rows read into a typed struct.
#include <stdexcept>

#include <sqlite3.h>

#include "Workload.h"
#include "Typed.h"

namespace bench {
namespace {

class Statement {
public:
    Statement(sqlite3* db, const char* sql) : db(db) {
        if (sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr) != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(db));
    }
    ~Statement() { sqlite3_finalize(stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    void text(int index, const std::string& value) { sqlite3_bind_text(stmt, index, value.data(), static_cast<int>(value.size()), SQLITE_STATIC); }
    void text(int index, const char* value) { sqlite3_bind_text(stmt, index, value, -1, SQLITE_STATIC); }
    void integer(int index, int value) { sqlite3_bind_int(stmt, index, value); }
    bool step() {
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW) return true;
        if (rc != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(db));
        return false;
    }
    void reset() { sqlite3_reset(stmt); }
    int columnInt(int column) const { return sqlite3_column_int(stmt, column); }
    std::string columnText(int column) const {
        const unsigned char* value = sqlite3_column_text(stmt, column);
        return value ? std::string(reinterpret_cast<const char*>(value), sqlite3_column_bytes(stmt, column)) : std::string();
    }

private:
    sqlite3* db;
    sqlite3_stmt* stmt = nullptr;
};

TypedElement readElement(const Statement& select) {
    TypedElement e;
    e.id = select.columnInt(0);
    e.slotNumber = select.columnInt(1);
    e.partitionId = select.columnInt(2);
    e.scsiType = select.columnInt(3);
    e.geoLocation = select.columnText(4);
    e.sourceGeoLocation = select.columnText(5);
    e.elementAccess = select.columnText(6) == "t";
    e.elementExcept = select.columnText(7) == "t";
    e.elementFull = select.columnText(8) == "t";
    e.volser = select.columnText(9);
    e.descriptor = select.columnText(10);
    e.scanInProgress = select.columnText(11) == "t";
    return e;
}

class PreparedContender : public Contender {
public:
    const char* name() const override { return "prepared statement"; }
    void open(const std::string& path) override { db = openConnection(path); }
    void prepare(Workload workload, int rows) override { fixture.prepare(workload, rows); }

    void run(Workload workload, int rows) override {
        switch (workload) {
            case Workload::Insert:
                execOrThrow(db, "BEGIN");
                insertAll();
                execOrThrow(db, "COMMIT");
                break;
            case Workload::InsertAutocommit: insertAll(); break;
            case Workload::SelectAll: {
                Statement select(db, kSelectAll);
                std::vector<TypedElement> all;
                while (select.step()) all.push_back(readElement(select));
                fixture.received = all.size();
                break;
            }
            case Workload::Get: {
                Statement select(db, kSelectById);
                for (int id = 1; id <= rows; ++id) {
                    select.integer(1, id);
                    while (select.step()) fixture.received += readElement(select).volser.size();
                    select.reset();
                }
                break;
            }
            case Workload::Update: {
                execOrThrow(db, "BEGIN");
                Statement update(db, kUpdateVolser);
                for (int id = 1; id <= rows; ++id) {
                    update.text(1, fixture.volsers[id - 1]);
                    update.integer(2, id);
                    update.step();
                    update.reset();
                }
                execOrThrow(db, "COMMIT");
                break;
            }
        }
    }

    void close() override {
        sqlite3_close(db);
        db = nullptr;
    }

private:
    void insertAll() {
        Statement insert(db, kInsert);
        for (const Row& row : fixture.samples) {
            insert.integer(1, row.slotNumber);
            insert.integer(2, row.partitionId);
            insert.integer(3, row.scsiType);
            insert.text(4, row.geoLocation);
            insert.text(5, row.sourceGeoLocation);
            insert.text(6, boolText(row.elementAccess));
            insert.text(7, boolText(row.elementExcept));
            insert.text(8, boolText(row.elementFull));
            insert.text(9, row.volser);
            insert.text(10, row.descriptorText);
            insert.text(11, boolText(row.scanInProgress));
            insert.step();
            insert.reset();
        }
    }

    sqlite3* db = nullptr;
    Fixture fixture;
};

}  // namespace

std::unique_ptr<Contender> makePrepared() { return std::make_unique<PreparedContender>(); }

}  // namespace bench
