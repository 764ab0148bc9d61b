#include "dbi/library/Element.h"

namespace dbi {
namespace library {

DBI_RECORD_DEFINE(Element, "library_element", DBI_LIBRARY_ELEMENT_COLUMNS)

Element::Element(int slotNumber, int partitionId, short scsiType, const std::string& geoLocation,
                 const std::string& sourceGeoLocation, bool elementAccess, bool elementExcept, bool elementFull,
                 const std::string& volser, std::vector<unsigned char> addDescriptor, bool scanInProgress) {
    m_slotNumber.setIntValue(slotNumber);
    m_partitionId.setIntValue(partitionId);
    m_scsiType.setIntValue(scsiType);
    m_geoLocation = geoLocation;
    m_sourceGeoLocation = sourceGeoLocation;
    m_elementAccess = elementAccess;
    m_elementExcept = elementExcept;
    m_elementFull = elementFull;
    m_volser = volser;
    m_addDescriptor = addDescriptor;
    m_scanInProgress = scanInProgress;
}

}  // namespace library
}  // namespace dbi
