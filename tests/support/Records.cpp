#include "support/Records.h"

namespace dbitest {

DBI_RECORD_DEFINE(Gadget, "test_gadget", DBITEST_GADGET_COLUMNS)
DBI_RECORD_DEFINE(Owner, "test_owner", DBITEST_OWNER_COLUMNS)

Gadget::Gadget(const std::string& name, int count, long long serial, bool enabled, const std::string& seenAt,
               std::vector<unsigned char> payload, std::vector<short> readings, int ownerId) {
    m_name = name;
    m_count.setIntValue(count);
    m_serial.setIntValue(serial);
    m_enabled = enabled;
    m_seenAt = seenAt;
    m_payload = payload;
    m_readings = readings;
    m_ownerId.setIntValue(ownerId);
}

}  // namespace dbitest
