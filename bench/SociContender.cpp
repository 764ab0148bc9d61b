// Contender (e): SOCI with its sqlite3 backend. Its backend header wraps
// <sqlite3.h> in a namespace, so this file includes no other SQLite header.
#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include "Typed.h"

namespace bench {
namespace {

class SociContender : public Contender {
public:
    const char* name() const override { return "SOCI"; }

    void open(const std::string& path) override {
        sql = std::make_unique<soci::session>(*soci::factory_sqlite3(), "db=" + path);
        *sql << "PRAGMA foreign_keys = ON";
        *sql << "PRAGMA journal_mode = WAL";
    }

    void prepare(Workload workload, int rows) override { fixture.prepare(workload, rows); }

    void run(Workload workload, int rows) override {
        switch (workload) {
            case Workload::Insert: {
                soci::transaction transaction(*sql);
                insertAll();
                transaction.commit();
                break;
            }
            case Workload::InsertAutocommit: insertAll(); break;
            case Workload::SelectAll: {
                std::vector<TypedElement> all;
                Reader reader;
                soci::statement select = reader.bind(sql->prepare << kSelectAll);
                select.execute();
                while (select.fetch()) all.push_back(reader.element());
                fixture.received = all.size();
                break;
            }
            case Workload::Get: {
                Reader reader;
                int id = 0;
                soci::statement select = (reader.bind(sql->prepare << kSelectByIdNamed), soci::use(id));
                for (id = 1; id <= rows; ++id) {
                    select.execute();
                    while (select.fetch()) fixture.received += reader.element().volser.size();
                }
                break;
            }
            case Workload::Update: {
                soci::transaction transaction(*sql);
                std::string volser;
                int id = 0;
                soci::statement update = (sql->prepare << "UPDATE library_element SET volser = :v WHERE id = :i",
                                          soci::use(volser), soci::use(id));
                for (id = 1; id <= rows; ++id) {
                    volser = fixture.volsers[id - 1];
                    update.execute(true);
                }
                transaction.commit();
                break;
            }
        }
    }

    void close() override { sql.reset(); }

private:
    static constexpr const char* kSelectByIdNamed =
        "SELECT id, slot_number, partition_id, scsi_type, geo_location, source_geo_location, element_access, "
        "element_except, element_full, volser, add_descriptor, scan_in_progress FROM library_element WHERE id = :id";

    // Output variables of one row; booleans arrive as their "t"/"f" text.
    struct Reader {
        TypedElement e;
        std::string access, except, full, scan;

        soci::details::prepare_temp_type& bind(soci::details::prepare_temp_type&& prepare) {
            return (prepare, soci::into(e.id), soci::into(e.slotNumber), soci::into(e.partitionId),
                    soci::into(e.scsiType), soci::into(e.geoLocation), soci::into(e.sourceGeoLocation),
                    soci::into(access), soci::into(except), soci::into(full), soci::into(e.volser),
                    soci::into(e.descriptor), soci::into(scan));
        }
        TypedElement element() {
            e.elementAccess = access == "t";
            e.elementExcept = except == "t";
            e.elementFull = full == "t";
            e.scanInProgress = scan == "t";
            return e;
        }
    };

    void insertAll() {
        Row row;
        std::string access, except, full, scan;
        soci::statement insert =
            (sql->prepare << "INSERT INTO library_element (slot_number, partition_id, scsi_type, geo_location, "
                             "source_geo_location, element_access, element_except, element_full, volser, "
                             "add_descriptor, scan_in_progress) VALUES (:a, :b, :c, :d, :e, :f, :g, :h, :i, :j, :k)",
             soci::use(row.slotNumber), soci::use(row.partitionId), soci::use(row.scsiType), soci::use(row.geoLocation),
             soci::use(row.sourceGeoLocation), soci::use(access), soci::use(except), soci::use(full),
             soci::use(row.volser), soci::use(row.descriptorText), soci::use(scan));
        for (const Row& sample : fixture.samples) {
            row = sample;
            access = boolText(row.elementAccess);
            except = boolText(row.elementExcept);
            full = boolText(row.elementFull);
            scan = boolText(row.scanInProgress);
            insert.execute(true);
        }
    }

    std::unique_ptr<soci::session> sql;
    Fixture fixture;
};

}  // namespace

std::unique_ptr<Contender> makeSoci() { return std::make_unique<SociContender>(); }

}  // namespace bench
