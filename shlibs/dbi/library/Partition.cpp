#include "dbi/library/Partition.h"

namespace dbi {
namespace library {

DBI_RECORD_DEFINE(Partition, "library_partition", DBI_LIBRARY_PARTITION_COLUMNS)

Partition::Partition(const std::string& guid, const std::string& name, int mediaLabelChecking, bool libraryManaged,
                     bool online) {
    m_guid = guid;
    m_name = name;
    m_mediaLabelChecking.setIntValue(mediaLabelChecking);
    m_libraryManaged = libraryManaged;
    m_online = online;
}

Partition Partition::getByGuid(std::string guid, dbi::Transaction& transaction) {
    return dbi::Query<Partition>().equals(Partition::guid, guid, m_tableName).get(transaction);
}

}  // namespace library
}  // namespace dbi
