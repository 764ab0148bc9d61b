#include "dbi/Encoding.h"

#include "Base64.h"

#include <openssl/bio.h>
#include <openssl/evp.h>
#include <string.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>

namespace dbi {

namespace {

struct BioChainDeleter {
    void operator()(BIO* bio) const { BIO_free_all(bio); }
};
using BioChain = std::unique_ptr<BIO, BioChainDeleter>;

// A base64 filter in front of `sink`; freeing the chain frees both.
BioChain base64Over(BIO* sink) {
    BIO* filter = BIO_new(BIO_f_base64());
    if (!filter) {
        BIO_free(sink);
        return BioChain();
    }
    return BioChain(BIO_push(filter, sink));
}

constexpr std::size_t kLineLength = 64;
constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Length of the encoding of `length` bytes: 4 characters per started group
// of 3 bytes, and a line feed after every full line and after the last.
std::size_t encodedLength(std::size_t length) {
    const std::size_t characters = (length + 2) / 3 * 4;
    return characters + (characters + kLineLength - 1) / kLineLength;
}

// Writes the encoding of `length` (> 0) bytes to `out`, which holds
// encodedLength(length) characters.
void encodeInto(const unsigned char* data, std::size_t length, char* out) {
    std::size_t onLine = 0;
    auto put = [&](char c) {
        *out++ = c;
        if (++onLine == kLineLength) {
            *out++ = '\n';
            onLine = 0;
        }
    };
    for (; length >= 3; data += 3, length -= 3) {
        const unsigned group = data[0] << 16 | data[1] << 8 | data[2];
        put(kAlphabet[group >> 18]);
        put(kAlphabet[group >> 12 & 63]);
        put(kAlphabet[group >> 6 & 63]);
        put(kAlphabet[group & 63]);
    }
    if (length > 0) {
        const unsigned group = data[0] << 16 | (length == 2 ? data[1] << 8 : 0);
        put(kAlphabet[group >> 18]);
        put(kAlphabet[group >> 12 & 63]);
        put(length == 2 ? kAlphabet[group >> 6 & 63] : '=');
        put('=');
    }
    if (onLine > 0) *out = '\n';
}

}  // namespace

std::string base64Text(const unsigned char* data, std::size_t length) {
    std::string text(base64Length(length), '\0');
    base64Into(data, length, &text[0]);
    return text;
}

std::size_t base64Length(std::size_t length) { return length > 0 ? encodedLength(length) : 0; }

void base64Into(const unsigned char* data, std::size_t length, char* out) {
    if (length > 0) encodeInto(data, length, out);
}

boost::shared_array<char> base64_enc(const unsigned char* data, unsigned int length) {
    const std::size_t size = length > 0 ? encodedLength(length) : 0;
    boost::shared_array<char> text(new char[size + 1]);
    if (length > 0) encodeInto(data, length, text.get());
    text[size] = '\0';
    return text;
}

boost::shared_array<unsigned char> base64_dec(const char* text, unsigned int& length) {
    const unsigned int room = static_cast<unsigned int>(std::strlen(text));
    boost::shared_array<unsigned char> bytes(new unsigned char[room + 1]);
    length = 0;
    BioChain chain = base64Over(BIO_new_mem_buf(text, -1));
    while (chain && length < room) {
        const int got = BIO_read(chain.get(), bytes.get() + length, static_cast<int>(room - length));
        if (got < 1) break;
        length += static_cast<unsigned int>(got);
    }
    bytes[length] = '\0';
    return bytes;
}

template <class T>
std::string convertNumberArrayToString(const std::vector<T>& values) {
    std::ostringstream text;
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i) text << ',';
        text << values[i];
    }
    return text.str();
}

template <class T>
boost::shared_array<T> convertStringToNumberArray(const std::string& text, unsigned int& count) {
    std::vector<char> scratch(text.begin(), text.end());
    scratch.push_back('\0');
    std::vector<T> numbers;
    char* state = nullptr;
    for (char* token = strtok_r(scratch.data(), "{},", &state); token; token = strtok_r(nullptr, "{},", &state))
        numbers.push_back(static_cast<T>(std::strtoll(token, nullptr, 10)));
    count = static_cast<unsigned int>(numbers.size());
    boost::shared_array<T> array(new T[count]);
    std::copy(numbers.begin(), numbers.end(), array.get());
    return array;
}

#define DBI_DEFINE_NUMBER_ARRAY_CONVERSIONS(T)                                                  \
    template DBI_EXPORT std::string convertNumberArrayToString<T>(const std::vector<T>&);     \
    template DBI_EXPORT boost::shared_array<T> convertStringToNumberArray<T>(const std::string&, unsigned int&);
DBI_DEFINE_NUMBER_ARRAY_CONVERSIONS(short)
DBI_DEFINE_NUMBER_ARRAY_CONVERSIONS(int)
DBI_DEFINE_NUMBER_ARRAY_CONVERSIONS(long long)
#undef DBI_DEFINE_NUMBER_ARRAY_CONVERSIONS

std::ostream& operator<<(std::ostream& out, const sqlite_bool& value) {
    static const std::string yes = "t";
    static const std::string no = "f";
    return out << (value.get() ? yes : no);
}

}  // namespace dbi
