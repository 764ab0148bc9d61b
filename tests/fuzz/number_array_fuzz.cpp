// Number arrays: any text parses without fault into at most one number per
// character, for every element type, and what was parsed survives being
// written out and read again.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <dbi/Encoding.h>

namespace {

template <class T>
void parseAndRewrite(const std::string& text) {
    unsigned int count = 0;
    boost::shared_array<T> numbers = dbi::convertStringToNumberArray<T>(text, count);
    if (count > text.size() || (count > 0 && !numbers)) std::abort();
    const std::vector<T> parsed(numbers.get(), numbers.get() + count);

    unsigned int again = 0;
    boost::shared_array<T> reread =
        dbi::convertStringToNumberArray<T>(dbi::convertNumberArrayToString<T>(parsed), again);
    if (std::vector<T>(reread.get(), reread.get() + again) != parsed) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    parseAndRewrite<short>(text);
    parseAndRewrite<int>(text);
    parseAndRewrite<long long>(text);
    return 0;
}
