// Appliance builds only (DBI_WITH_QUILL): reports go to the platform's
// event service, which ships with the appliance's closed libraries.
#include <Quill/TextRasEvent.h>

#include "PlatformEvent.h"

namespace dbi {

namespace {
const int kEventAction = 5;
}

void postPlatformEvent(const std::string& file, int line, const std::string& function, const std::string& text) {
    Quill::TextRasEvent::PostEvent(Basalt::String(file.c_str()), line, Basalt::String(function.c_str()),
                                   Quill::rasEventBase::m_NOELEMENTID,
                                   static_cast<Quill::eRASEventAction>(kEventAction), "%s", text.c_str());
}

}  // namespace dbi
