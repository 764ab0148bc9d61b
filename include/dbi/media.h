#ifndef DBI_MEDIA_H
#define DBI_MEDIA_H

// Record classes of the media-test feature: cartridges, test sessions and
// what is read from cartridge memory and drive log pages.
#include "dbi/media/ApplicationData.h"
#include "dbi/media/CartridgeStatus.h"
#include "dbi/media/DynamicData.h"
#include "dbi/media/EODInformation.h"
#include "dbi/media/ErrorUsage.h"
#include "dbi/media/Media.h"
#include "dbi/media/Session.h"
#include "dbi/media/SessionDrive.h"
#include "dbi/media/SessionResults.h"
#include "dbi/media/SessionResultsMedia.h"
#include "dbi/media/Settings.h"
#include "dbi/media/UsageInformation.h"
#include "dbi/media/WrapEntry.h"
#include "dbi/media/WritePass.h"

/// \namespace dbi::media
/// Records of the media-test feature.

#endif
