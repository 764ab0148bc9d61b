#ifndef DBI_VERSION_H
#define DBI_VERSION_H

#include "dbi/Export.h"

namespace dbi {

/// The version of the loaded library, "MAJOR.MINOR.PATCH" (e.g. "1.0.0"):
/// static text, callable from any thread, never throws.
DBI_EXPORT const char* version();

}  // namespace dbi

#endif
