// Contender (d): SQLiteCpp, prepared statements with bound parameters.
#include <SQLiteCpp/SQLiteCpp.h>

#include "Typed.h"
#include "Workload.h"

namespace bench {
namespace {

TypedElement readElement(SQLite::Statement& select) {
    TypedElement e;
    e.id = select.getColumn(0).getInt();
    e.slotNumber = select.getColumn(1).getInt();
    e.partitionId = select.getColumn(2).getInt();
    e.scsiType = select.getColumn(3).getInt();
    e.geoLocation = select.getColumn(4).getString();
    e.sourceGeoLocation = select.getColumn(5).getString();
    e.elementAccess = select.getColumn(6).getString() == "t";
    e.elementExcept = select.getColumn(7).getString() == "t";
    e.elementFull = select.getColumn(8).getString() == "t";
    e.volser = select.getColumn(9).getString();
    e.descriptor = select.getColumn(10).getString();
    e.scanInProgress = select.getColumn(11).getString() == "t";
    return e;
}

class SqliteCppContender : public Contender {
public:
    const char* name() const override { return "SQLiteCpp"; }

    void open(const std::string& path) override {
        db = std::make_unique<SQLite::Database>(path, SQLite::OPEN_READWRITE);
        db->exec("PRAGMA foreign_keys = ON; PRAGMA journal_mode = WAL;");
    }

    void prepare(Workload workload, int rows) override { fixture.prepare(workload, rows); }

    void run(Workload workload, int rows) override {
        switch (workload) {
            case Workload::Insert: {
                SQLite::Transaction transaction(*db);
                insertAll();
                transaction.commit();
                break;
            }
            case Workload::InsertAutocommit: insertAll(); break;
            case Workload::SelectAll: {
                SQLite::Statement select(*db, kSelectAll);
                std::vector<TypedElement> all;
                while (select.executeStep()) all.push_back(readElement(select));
                fixture.received = all.size();
                break;
            }
            case Workload::Get: {
                SQLite::Statement select(*db, kSelectById);
                for (int id = 1; id <= rows; ++id) {
                    select.bind(1, id);
                    while (select.executeStep()) fixture.received += readElement(select).volser.size();
                    select.reset();
                }
                break;
            }
            case Workload::Update: {
                SQLite::Transaction transaction(*db);
                SQLite::Statement update(*db, kUpdateVolser);
                for (int id = 1; id <= rows; ++id) {
                    update.bindNoCopy(1, fixture.volsers[id - 1]);
                    update.bind(2, id);
                    update.exec();
                    update.reset();
                }
                transaction.commit();
                break;
            }
        }
    }

    void close() override { db.reset(); }

private:
    void insertAll() {
        SQLite::Statement insert(*db, kInsert);
        for (const Row& row : fixture.samples) {
            insert.bind(1, row.slotNumber);
            insert.bind(2, row.partitionId);
            insert.bind(3, row.scsiType);
            insert.bindNoCopy(4, row.geoLocation);
            insert.bindNoCopy(5, row.sourceGeoLocation);
            insert.bindNoCopy(6, boolText(row.elementAccess));
            insert.bindNoCopy(7, boolText(row.elementExcept));
            insert.bindNoCopy(8, boolText(row.elementFull));
            insert.bindNoCopy(9, row.volser);
            insert.bindNoCopy(10, row.descriptorText);
            insert.bindNoCopy(11, boolText(row.scanInProgress));
            insert.exec();
            insert.reset();
        }
    }

    std::unique_ptr<SQLite::Database> db;
    Fixture fixture;
};

}  // namespace

std::unique_ptr<Contender> makeSqliteCpp() { return std::make_unique<SqliteCppContender>(); }

}  // namespace bench
