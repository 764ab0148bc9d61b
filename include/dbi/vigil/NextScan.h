#ifndef DBI_VIGIL_NEXTSCAN_H
#define DBI_VIGIL_NEXTSCAN_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Record.h"
#include "dbi/Table.h"

namespace dbi {
namespace vigil {

// When the next scheduled scan is due.
#define DBI_VIGIL_NEXTSCAN_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")         \
    COLUMN(C, DateTimeField, moment, "moment")

class DBI_EXPORT NextScan : public dbi::Table<NextScan> {
    DBI_RECORD(NextScan, DBI_VIGIL_NEXTSCAN_COLUMNS)
public:
    explicit NextScan(const std::string& dueAt);
};

}  // namespace vigil
}  // namespace dbi

#endif
