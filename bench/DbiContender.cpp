// Contender (a): the library itself, records through Table and Query, with
// values written into the statement texts (the default) or bound as
// parameters of cached prepared statements.
#include <dbi/dbi.h>

#include "Workload.h"

namespace bench {
namespace {

using dbi::library::Element;

Element toElement(const Row& row) {
    return Element(row.slotNumber, row.partitionId, static_cast<short>(row.scsiType), row.geoLocation,
                   row.sourceGeoLocation, row.elementAccess, row.elementExcept, row.elementFull, row.volser,
                   row.descriptor, row.scanInProgress);
}

class DbiContender : public Contender {
public:
    explicit DbiContender(bool bindValues) : bindValues(bindValues) {}

    const char* name() const override { return bindValues ? "dbi (bound values)" : "dbi"; }

    void open(const std::string& path) override {
        dbi::Configure::setBindValues(bindValues);
        dbi::Configure::setOptions(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX);
        dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
        dbi::DBManager::getConnection();
    }

    void prepare(Workload workload, int rows) override {
        samples.clear();
        records.clear();
        volsers.clear();
        if (workload == Workload::Insert || workload == Workload::InsertAutocommit)
            for (int i = 1; i <= rows; ++i) samples.push_back(sampleRow(i));
        if (workload == Workload::Update) {
            dbi::Query<Element>().execute(records, autocommit());
            for (int i = 1; i <= rows; ++i) volsers.push_back(updatedVolser(i));
        }
    }

    void run(Workload workload, int rows) override {
        switch (workload) {
            case Workload::Insert: {
                dbi::Transaction transaction(true);
                for (const Row& row : samples) toElement(row).save(transaction);
                transaction.release();
                break;
            }
            case Workload::InsertAutocommit:
                for (const Row& row : samples) {
                    dbi::Transaction transaction(true);
                    toElement(row).save(transaction);
                    transaction.release();
                }
                break;
            case Workload::SelectAll: {
                std::vector<Element> all;
                dbi::Query<Element>().execute(all, autocommit());
                selected = all.size();
                break;
            }
            case Workload::Get:
                for (int id = 1; id <= rows; ++id) selected += Element::get(id, autocommit()).m_slotNumber.getValue().size();
                break;
            case Workload::Update: {
                dbi::Transaction transaction(true);
                for (std::size_t i = 0; i < records.size(); ++i) {
                    records[i].m_volser = volsers[i];
                    records[i].save(transaction);
                }
                transaction.release();
                break;
            }
        }
    }

    void close() override {
        dbi::DBManager::swapConnection(boost::shared_ptr<sqlite3>());
        dbi::Configure::setBindValues(false);
    }

private:
    static dbi::Transaction& autocommit() { return dbi::Transaction::getDefaultTransaction(); }

    const bool bindValues;
    std::vector<Row> samples;
    std::vector<Element> records;
    std::vector<std::string> volsers;
    std::size_t selected = 0;
};

}  // namespace

std::unique_ptr<Contender> makeDbi() { return std::make_unique<DbiContender>(false); }
std::unique_ptr<Contender> makeDbiBound() { return std::make_unique<DbiContender>(true); }

}  // namespace bench
