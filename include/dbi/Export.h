#ifndef DBI_EXPORT_H
#define DBI_EXPORT_H

/// The library is built with hidden visibility; what carries DBI_EXPORT (and
/// the templates callers instantiate) makes up its ABI.
#define DBI_EXPORT __attribute__((visibility("default")))

#endif
