#include "dbi/library/Event.h"

namespace dbi {
namespace library {

DBI_RECORD_DEFINE(Event, "library_event", DBI_LIBRARY_EVENT_COLUMNS)

Event::Event(const std::string& whichTable, int rowId, const std::string& actionColumn, const std::string& oldValue,
             const std::string& newValue, const std::string& eventTime) {
    m_whichTable = whichTable;
    m_rowId.setIntValue(rowId);
    m_actionColumn = actionColumn;
    m_oldValue = oldValue;
    m_newValue = newValue;
    m_eventTime = eventTime;
}

}  // namespace library
}  // namespace dbi
