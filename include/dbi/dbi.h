#ifndef DBI_DBI_H
#define DBI_DBI_H

// The whole public interface of the library.
#include "dbi/Backup.h"
#include "dbi/BoundValue.h"
#include "dbi/CommandResponseHelper.h"
#include "dbi/Configure.h"
#include "dbi/DBIException.h"
#include "dbi/DBManager.h"
#include "dbi/Encoding.h"
#include "dbi/EventReporter.h"
#include "dbi/Field.h"
#include "dbi/Notify.h"
#include "dbi/ParameterBinder.h"
#include "dbi/Query.h"
#include "dbi/Record.h"
#include "dbi/RetryTransaction.h"
#include "dbi/RowReader.h"
#include "dbi/StatementBuilder.h"
#include "dbi/Table.h"
#include "dbi/Transaction.h"
#include "dbi/Version.h"
#include "dbi/library.h"
#include "dbi/media.h"
#include "dbi/trend.h"
#include "dbi/vigil.h"

/// \namespace dbi
/// Records mapped to tables of one SQLite file, connections, savepoints,
/// failures, change notification and the command channel.

#endif
