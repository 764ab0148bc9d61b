#ifndef DBI_LIBRARY_H
#define DBI_LIBRARY_H

// Records of the robot's elements and partitions, the change journal and the
// command channel with its lookup tables.
#include "dbi/library/CREndpoint.h"
#include "dbi/library/CROperation.h"
#include "dbi/library/CRState.h"
#include "dbi/library/CommandResponse.h"
#include "dbi/library/Element.h"
#include "dbi/library/Event.h"
#include "dbi/library/Partition.h"

/// \namespace dbi::library
/// Records of the robot's elements and partitions, the change journal and the
/// command channel with its lookup tables.

#endif
