#include <boost/thread/thread.hpp>

#include "support/Records.h"
#include "support/TestDatabase.h"

using dbitest::Gadget;
using dbitest::Owner;

namespace {

Gadget sampleGadget() {
    return Gadget("probe", 3, 9000000000LL, true, "2012-03-04 05:06:07", {1, 2, 255}, {-1, 70}, 1);
}

}  // namespace

TEST(Record, fullConstructorSetsEveryColumnButId) {
    const Gadget gadget = sampleGadget();
    EXPECT_TRUE(gadget.m_id.isUnknown());
    EXPECT_FALSE(gadget.m_id.isModified());
    dbi::detail::forEachColumn<Gadget>([&](auto member) {
        const dbi::Field& field = gadget.*member;
        if (field.getName() != Gadget::id) {
            EXPECT_TRUE(field.isModified()) << field.getName();
        }
    });
    EXPECT_EQ("t", gadget.m_enabled.getValue());
    EXPECT_EQ("-1,70", gadget.m_readings.getValue());
}

TEST(Record, equalityComparesEveryValueIdIncluded) {
    Gadget a = sampleGadget(), b = sampleGadget();
    EXPECT_EQ(a, b);
    b.m_id.load("5");
    EXPECT_NE(a, b);
    b = a;
    EXPECT_EQ(a, b);
    b.m_name = std::string("other");
    EXPECT_NE(a, b);
}

TEST(Record, swapAndAssignmentExchangeValuesNotColumns) {
    Gadget a = sampleGadget(), b;
    a.swap(b);
    EXPECT_TRUE(a.m_name.isUnknown());
    EXPECT_EQ("probe", b.m_name.getValue());
    EXPECT_STREQ("name", a.m_name.getName());
    EXPECT_EQ(2u, b.m_readings.size());
}

TEST(Record, fieldMapFindsColumnsByTextAndNothingElse) {
    dbi::FieldMap<Gadget>& map = Gadget::getFieldMap();
    EXPECT_EQ(Gadget::columnCount, map.size());
    Gadget gadget = sampleGadget();
    const std::string name = "serial";
    EXPECT_EQ(&gadget.m_serial, &map.at(name.c_str())(&gadget));
    EXPECT_EQ(map.end(), map.find("no_such_column"));
    EXPECT_EQ(5u * 'i' + 'd', dbi::hashstr()("id"));
}

TEST(Record, fieldMapIsBuiltOnceUnderConcurrentFirstUse) {
    std::vector<boost::thread> threads;
    std::vector<std::size_t> sizes(8);
    for (std::size_t i = 0; i < sizes.size(); ++i)
        threads.emplace_back([&sizes, i] { sizes[i] = Owner::getFieldMap().size(); });
    for (boost::thread& thread : threads) thread.join();
    for (std::size_t size : sizes) EXPECT_EQ(Owner::columnCount, size);
}
