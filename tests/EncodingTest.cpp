#include <gtest/gtest.h>

#include <boost/date_time/posix_time/posix_time.hpp>
#include <cstring>
#include <sstream>

#include <dbi/dbi.h>

namespace {

std::string encode(const std::vector<unsigned char>& bytes) {
    return dbi::base64_enc(bytes.data(), static_cast<unsigned int>(bytes.size())).get();
}

boost::posix_time::ptime parse(const std::string& text) {
    dbi::DateTimeField field("t");
    field = text;
    return field;
}

}  // namespace

TEST(Base64, breaksLinesAfterSixtyFourCharactersAndAtTheEnd) {
    EXPECT_EQ("", encode({}));
    EXPECT_EQ("AAEC\n", encode({0, 1, 2}));
    const std::string one = encode(std::vector<unsigned char>(48, 'x'));
    EXPECT_EQ(65u, one.size());
    EXPECT_EQ('\n', one.back());
    const std::string two = encode(std::vector<unsigned char>(49, 'x'));
    EXPECT_EQ(std::string(64, 'e').size() + 1, two.find('\n') + 1);
    EXPECT_EQ("eA==\n", two.substr(65));
}

TEST(Base64, decodesWhatItEncodesFollowedByAnUncountedNul) {
    std::vector<unsigned char> bytes;
    for (int i = 0; i < 300; ++i) bytes.push_back(static_cast<unsigned char>(i * 7));
    unsigned int length = 99;
    boost::shared_array<unsigned char> decoded = dbi::base64_dec(encode(bytes).c_str(), length);
    ASSERT_EQ(bytes.size(), length);
    EXPECT_EQ(0, std::memcmp(bytes.data(), decoded.get(), length));
    EXPECT_EQ(0, decoded[length]);
    decoded = dbi::base64_dec("", length);
    EXPECT_EQ(0u, length);
    EXPECT_EQ(0, decoded[0]);
}

TEST(NumberArrays, joinWithCommasAndReadBracedOrBareLists) {
    EXPECT_EQ("", dbi::convertNumberArrayToString<int>({}));
    EXPECT_EQ("1,-2,3", dbi::convertNumberArrayToString<int>({1, -2, 3}));
    EXPECT_EQ("9000000000", dbi::convertNumberArrayToString<long long>({9000000000LL}));
    unsigned int count = 7;
    dbi::convertStringToNumberArray<int>("{}", count);
    EXPECT_EQ(0u, count);
    dbi::convertStringToNumberArray<int>("", count);
    EXPECT_EQ(0u, count);
    boost::shared_array<int> numbers = dbi::convertStringToNumberArray<int>("{1,,2}", count);
    ASSERT_EQ(2u, count);
    EXPECT_EQ(2, numbers[1]);
    numbers = dbi::convertStringToNumberArray<int>("{ -3,4}", count);
    ASSERT_EQ(2u, count);
    EXPECT_EQ(-3, numbers[0]);
    boost::shared_array<long long> wide = dbi::convertStringToNumberArray<long long>("{9000000000}", count);
    EXPECT_EQ(9000000000LL, wide[0]);
}

TEST(NumberArrays, narrowSilentlyToTheElementType) {
    unsigned int count = 0;
    boost::shared_array<short> numbers = dbi::convertStringToNumberArray<short>("70000,x", count);
    ASSERT_EQ(2u, count);
    EXPECT_EQ(4464, numbers[0]);
    EXPECT_EQ(0, numbers[1]);
}

TEST(SqliteBool, streamsAsOneLetter) {
    std::ostringstream text;
    text << dbi::sqlite_bool(true) << dbi::sqlite_bool(false);
    EXPECT_EQ("tf", text.str());
}

TEST(DateTime, readsIsoCompactAndSpaceSeparatedForms) {
    const boost::posix_time::ptime expected = boost::posix_time::time_from_string("2012-03-04 05:06:07");
    EXPECT_EQ(expected, parse("2012-03-04T05:06:07"));
    EXPECT_EQ(expected, parse("20120304T050607"));
    EXPECT_EQ(expected, parse("2012-03-04 05:06:07"));
    EXPECT_EQ(boost::posix_time::time_from_string("2012-03-04 05:06:07.250"), parse("2012-03-04 05:06:07.250"));
    // Past the 32-bit time_t limit.
    EXPECT_EQ(boost::posix_time::time_from_string("2040-01-02 03:04:05"), parse("2040-01-02T03:04:05"));
}

TEST(DateTime, badTextReachesTheCallerAsBoostsException) {
    EXPECT_THROW(parse("20121304T050607"), std::out_of_range);
    EXPECT_ANY_THROW(parse("garbage"));
    EXPECT_ANY_THROW(parse(""));
}
