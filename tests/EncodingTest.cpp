#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/evp.h>

#include <climits>
#include <memory>
#include <random>

#include <dbi/dbi.h>

namespace {

// The OpenSSL base64 filter the encoder replaced, whose output stored
// descriptors were written with.
std::string filterEncode(const std::vector<unsigned char>& bytes) {
    std::unique_ptr<BIO, decltype(&BIO_free_all)> chain(BIO_push(BIO_new(BIO_f_base64()), BIO_new(BIO_s_mem())),
                                                        BIO_free_all);
    if (!bytes.empty()) BIO_write(chain.get(), bytes.data(), static_cast<int>(bytes.size()));
    (void)BIO_flush(chain.get());
    char* text = nullptr;
    const long length = BIO_get_mem_data(BIO_next(chain.get()), &text);
    return std::string(text, text + length);
}

}  // namespace

TEST(Base64, encodesEveryInputAsTheOpenSslFilterDoesAndDecodesItBack) {
    std::mt19937 random(20121);
    std::uniform_int_distribution<int> byte(0, 255);
    std::uniform_int_distribution<std::size_t> longLength(0, 3000);
    for (int round = 0; round < 2000; ++round) {
        // Every short length (line and padding boundaries), then long ones.
        const std::size_t length = round < 400 ? static_cast<std::size_t>(round) : longLength(random);
        std::vector<unsigned char> bytes(length);
        for (unsigned char& b : bytes) b = static_cast<unsigned char>(byte(random));
        const std::string expected = filterEncode(bytes);
        ASSERT_EQ(expected, dbi::base64_enc(bytes.data(), static_cast<unsigned int>(length)).get()) << length;
        dbi::ByteArrayField field("b");
        field = bytes;
        ASSERT_EQ(expected, field.getValue()) << length;
        ASSERT_EQ(length, field.getLength());
        ASSERT_TRUE(std::equal(bytes.begin(), bytes.end(), field.getBytes().get())) << length;
        ASSERT_EQ(0, field.getBytes()[length]) << "an uncounted NUL follows";
    }
}

TEST(NumberArrays, readBracedBareOrBrokenListsNarrowingSilently) {
    const struct {
        const char* text;
        std::vector<long long> numbers;
    } lists[] = {{"{}", {}},           {"", {}},          {"{,}", {}},     {"{1,,2}", {1, 2}},
                 {"{ -3,4}", {-3, 4}}, {" 7 ,x, -2}{", {7, 0, -2}}, {"{9000000000}", {9000000000LL}}};
    for (const auto& list : lists) {
        unsigned int count = 99;
        const boost::shared_array<long long> numbers = dbi::convertStringToNumberArray<long long>(list.text, count);
        EXPECT_EQ(list.numbers, std::vector<long long>(numbers.get(), numbers.get() + count)) << list.text;
    }
    unsigned int count = 0;
    const boost::shared_array<short> narrow = dbi::convertStringToNumberArray<short>("70000,x", count);
    ASSERT_EQ(2u, count);
    EXPECT_EQ(4464, narrow[0]);
}

// Assigning the text a field holds changes nothing; arrays decode lazily,
// and copies and swaps carry their decoded caches.
TEST(Field, changesOnlyOnDifferentTextAndCopiesAndSwapsCarryTheirCaches) {
    dbi::CharField name("name");
    name = std::string(dbi::DBI_UNKNOWN);
    name.load("y");
    EXPECT_FALSE(name.isModified());
    name = std::string(dbi::DBI_UNKNOWN);  // the marker's text is the unknown state
    EXPECT_TRUE(name.isUnknown() && name.isBareInSql() && name.isModified());
    EXPECT_EQ(dbi::DBI_UNKNOWN, name.getValue());
    EXPECT_EQ("-2147483648", dbi::IntegerField("i").setIntValue(INT_MIN).getValue());
    dbi::NumberArrayField<int> source("n", {1, 2, 3});
    EXPECT_EQ(3u, source.size());
    source.load("4,5");  // stale now, cache still holds 1,2,3
    dbi::NumberArrayField<int> copy(source);
    EXPECT_TRUE(source.isStale() && !copy.isStale() && !copy.isModified());
    EXPECT_EQ(3u, copy.size());  // answers from the copied cache
    EXPECT_EQ(2u, source.size());
    dbi::NumberArrayField<short> a("a", {1}), b("b");
    b.load("7,8");
    a.swap(b);
    EXPECT_EQ(2u, a.size());
    EXPECT_TRUE(!a.isModified() && b.isModified());
    EXPECT_EQ(1, static_cast<boost::shared_array<short>>(b)[0]);
    dbi::ByteArrayField bytes("b");
    bytes = std::vector<unsigned char>{'h', 'i'};
    EXPECT_TRUE(bytes.isStale());
    EXPECT_EQ(2u, bytes.getLength());
}
