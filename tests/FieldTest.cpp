#include <gtest/gtest.h>

#include <climits>

#include <dbi/dbi.h>

TEST(Field, startsUnknownAndChangesOnlyOnDifferentText) {
    dbi::CharField field("name");
    EXPECT_EQ("DBI_UNKNOWN", field.getValue());
    field = std::string("DBI_UNKNOWN");
    EXPECT_FALSE(field.isModified());
    field = std::string("x");
    EXPECT_TRUE(field.isModified());
    EXPECT_TRUE(field.isStale());
    field.load("y");
    EXPECT_FALSE(field.isModified());
    EXPECT_TRUE(field.isStale());
    EXPECT_EQ("y", field.getValue());
}

TEST(Field, columnKindsCarryTheirTypeWordAndQuoting) {
    struct Kind {
        dbi::Field field;
        const char* type;
        const char* prefix;
        const char* suffix;
    };
    const Kind kinds[] = {
        {dbi::IntegerField("a"), "integer", "", ""},         {dbi::BigIntegerField("a"), "bigint", "", ""},
        {dbi::CharField("a"), "text", "'", "'"},             {dbi::BooleanField("a"), "boolean", "'", "'"},
        {dbi::DateTimeField("a"), "datetime", "'", "'"},     {dbi::ByteArrayField("a"), "blob", "'", "'"},
        {dbi::NumberArrayField<int>("a"), "array", "ARRAY[", "]"}, {dbi::ForeignKey<int>("a"), "integer", "", ""},
    };
    for (const Kind& kind : kinds) {
        EXPECT_STREQ(kind.type, kind.field.getSqlType());
        EXPECT_STREQ(kind.prefix, kind.field.getPrefix());
        EXPECT_STREQ(kind.suffix, kind.field.getSuffix());
    }
}

TEST(Field, typedSettersWriteDecimalAndLetters) {
    dbi::IntegerField integer("i");
    EXPECT_EQ("-2147483648", integer.setIntValue(INT_MIN).getValue());
    EXPECT_EQ(INT_MIN, integer.getIntValue());
    dbi::BigIntegerField big("b");
    EXPECT_EQ("-9000000000", big.setIntValue(-9000000000LL).getValue());
    EXPECT_EQ(-9000000000LL, big.getIntValue());
    dbi::BooleanField flag("f");
    flag = true;
    EXPECT_EQ("t", flag.getValue());
    EXPECT_TRUE(flag.getBoolValue());
    flag = false;
    EXPECT_FALSE(flag.getBoolValue());
    dbi::ForeignKey<int> key("k");
    key.setIntValue(12);
    EXPECT_EQ(12, key.getIntValue());
}

TEST(Field, copiesKeepModifiedButAreNeverStale) {
    dbi::NumberArrayField<int> source("n", {1, 2, 3});
    EXPECT_EQ(3u, source.size());
    source.load("4,5");  // stale now, cache still holds 1,2,3
    dbi::NumberArrayField<int> copy(source);
    EXPECT_FALSE(copy.isStale());
    EXPECT_FALSE(copy.isModified());
    EXPECT_EQ(3u, copy.size());  // answers from the copied cache
    EXPECT_EQ(2u, source.size());
}

TEST(Field, swapExchangesValuesFlagsAndCaches) {
    dbi::NumberArrayField<short> a("a", {1}), b("b");
    b.load("7,8");
    EXPECT_EQ(1u, a.size());
    a.swap(b);
    EXPECT_STREQ("a", a.getName());
    EXPECT_EQ(2u, a.size());
    EXPECT_FALSE(a.isModified());
    EXPECT_TRUE(b.isModified());
    EXPECT_EQ(1, static_cast<boost::shared_array<short>>(b)[0]);
}

TEST(Field, arraysDecodeLazilyAndUnknownReadsAsEmpty) {
    dbi::NumberArrayField<long long> numbers("n");
    EXPECT_EQ(0u, numbers.size());
    dbi::ByteArrayField bytes("b");
    EXPECT_EQ(0u, bytes.getLength());
    bytes = std::vector<unsigned char>{'h', 'i'};
    EXPECT_EQ("aGk=\n", bytes.getValue());
    EXPECT_TRUE(bytes.isStale());
    EXPECT_EQ(2u, bytes.getLength());
    EXPECT_FALSE(bytes.isStale());
    EXPECT_EQ('i', bytes.getBytes()[1]);
}
