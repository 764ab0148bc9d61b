#ifndef DBI_TREND_H
#define DBI_TREND_H

// Records of the drive-mount and TapeAlert history that reports are made from.
#include "dbi/trend/DriveStatistics.h"
#include "dbi/trend/TapeAlert.h"

/// \namespace dbi::trend
/// Records of the drive-mount and TapeAlert history.

#endif
