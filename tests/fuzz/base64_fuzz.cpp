// Base64: decoding arbitrary text stays inside its buffer and reports no
// more bytes than the text could hold; encoding then decoding any bytes
// gives them back unchanged.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dbi/Encoding.h>

namespace {

void decodeArbitraryText(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);  // stops at an embedded NUL below
    unsigned int length = 0;
    boost::shared_array<unsigned char> bytes = dbi::base64_dec(text.c_str(), length);
    if (!bytes || length > std::strlen(text.c_str()) || bytes[length] != '\0') std::abort();
}

void roundTrip(const uint8_t* data, size_t size) {
    boost::shared_array<char> text = dbi::base64_enc(data, static_cast<unsigned int>(size));
    if (!text) std::abort();
    unsigned int length = 0;
    boost::shared_array<unsigned char> bytes = dbi::base64_dec(text.get(), length);
    if (length != size || (size > 0 && std::memcmp(bytes.get(), data, size) != 0)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    decodeArbitraryText(data, size);
    roundTrip(data, size);
    return 0;
}
