#ifndef DBI_VIGIL_H
#define DBI_VIGIL_H

// Records of the media-integrity scanning feature.
#include "dbi/vigil/Action.h"
#include "dbi/vigil/ActionType.h"
#include "dbi/vigil/ConcurrentRemaining.h"
#include "dbi/vigil/Media.h"
#include "dbi/vigil/MediaPolicy.h"
#include "dbi/vigil/NextScan.h"
#include "dbi/vigil/Policy.h"
#include "dbi/vigil/ScanCandidate.h"
#include "dbi/vigil/Settings.h"

/// \namespace dbi::vigil
/// Records of the media-integrity scanning feature.

#endif
