#ifndef DBI_TESTS_RECORDS_H
#define DBI_TESTS_RECORDS_H

#include <dbi/dbi.h>

// Record classes of the tests: one column of every field kind.
namespace dbitest {

class Owner;

#define DBITEST_GADGET_COLUMNS(COLUMN, C)                      \
    COLUMN(C, IntegerField, id, "id")                          \
    COLUMN(C, CharField, name, "name")                         \
    COLUMN(C, IntegerField, count, "count")                    \
    COLUMN(C, BigIntegerField, serial, "serial")               \
    COLUMN(C, BooleanField, enabled, "enabled")                \
    COLUMN(C, DateTimeField, seenAt, "seen_at")                \
    COLUMN(C, ByteArrayField, payload, "payload")              \
    COLUMN(C, NumberArrayField<short>, readings, "readings")   \
    COLUMN(C, ForeignKey<Owner>, ownerId, "owner_id")

class Gadget : public dbi::Table<Gadget> {
    DBI_RECORD(Gadget, DBITEST_GADGET_COLUMNS)
public:
    Gadget(const std::string& name, int count, long long serial, bool enabled, const std::string& seenAt,
           std::vector<unsigned char> payload, std::vector<short> readings, int ownerId);
};

#define DBITEST_OWNER_COLUMNS(COLUMN, C) \
    COLUMN(C, IntegerField, id, "id")    \
    COLUMN(C, CharField, name, "name")

class Owner : public dbi::Table<Owner> {
    DBI_RECORD(Owner, DBITEST_OWNER_COLUMNS)
public:
    explicit Owner(const std::string& name) { m_name = name; }
    static Owner getByName(const std::string& name, dbi::Transaction& transaction) {
        return dbi::Query<Owner>().equals(Owner::name, name, m_tableName).get(transaction);
    }
};

// SQL of the two tables, as the record classes describe them.
const char* const kGadgetSchema =
    "CREATE TABLE test_owner (id integer PRIMARY KEY, name text);"
    "CREATE TABLE test_gadget (id integer PRIMARY KEY, name text, count integer, serial bigint, enabled boolean,"
    " seen_at datetime, payload blob, readings array, owner_id integer REFERENCES test_owner(id));";

}  // namespace dbitest

#endif
