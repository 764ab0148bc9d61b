#include "dbi/Version.h"

namespace dbi {

// DBI_VERSION_TEXT comes from the build's project version.
const char* version() { return DBI_VERSION_TEXT; }

}  // namespace dbi
