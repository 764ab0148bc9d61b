// The encoder against the OpenSSL base64 filter it replaced, whose output
// stored descriptors were written with.
#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/evp.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include <dbi/dbi.h>

namespace {

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

TEST(Base64, encodesEveryInputAsTheOpenSslFilterDoes) {
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
    }
}
