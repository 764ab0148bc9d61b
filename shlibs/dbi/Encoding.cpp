#include "dbi/Encoding.h"

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

}  // namespace

boost::shared_array<char> base64_enc(const unsigned char* data, unsigned int length) {
    BioChain chain = base64Over(BIO_new(BIO_s_mem()));
    if (!chain) return boost::shared_array<char>();
    if (length > 0 && BIO_write(chain.get(), data, static_cast<int>(length)) != static_cast<int>(length))
        return boost::shared_array<char>();
    (void)BIO_flush(chain.get());
    char* encoded = nullptr;
    const long encodedLength = BIO_get_mem_data(BIO_next(chain.get()), &encoded);
    boost::shared_array<char> text(new char[encodedLength + 1]);
    if (encodedLength > 0) std::memcpy(text.get(), encoded, encodedLength);
    text[encodedLength] = '\0';
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
