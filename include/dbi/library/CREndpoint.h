#ifndef DBI_LIBRARY_CRENDPOINT_H
#define DBI_LIBRARY_CRENDPOINT_H

#include <string>

#include "dbi/Export.h"
#include "dbi/Table.h"

namespace dbi {
namespace library {

/// A process that posts or answers commands on the command channel. Rows are
/// created under well-known ids, which commands carry in source_id/target_id.
#define DBI_LIBRARY_CRENDPOINT_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")             \
    COLUMN(C, CharField, name, "name")

/// A row of table library_crendpoint, with the columns DBI_LIBRARY_CRENDPOINT_COLUMNS lists. A value
/// owned by its caller and used by one thread at a time; Table brings the
/// row operations.
class DBI_EXPORT CREndpoint : public dbi::Table<CREndpoint> {
    DBI_RECORD(CREndpoint, DBI_LIBRARY_CRENDPOINT_COLUMNS)
public:
    /// Endpoint ids as stored in commands. Each deployment stores a
    /// library_crendpoint row under the id of every endpoint it uses; the
    /// ids below are the ones this appliance's processes are known by, and a
    /// caller may static_cast any other id a deployment defines.
    enum enum_type {
        UNKNOWN = 0,          ///< no endpoint: target of one-way events, wildcard in models
        LIBRARY_MANAGER = 1,  ///< robot and partition control
        MEDIA_MANAGER = 2,    ///< cartridge records and media tests
        VIGIL_SCANNER = 3,    ///< media-integrity scanning
        WEB_UI = 4,           ///< web management interface
        CLI = 5               // command-line management interface
    };

    /// A row under the well-known `id`, for createOrUpdate().
    CREndpoint(int id, const std::string& name);
};

}  // namespace library
}  // namespace dbi

#endif
