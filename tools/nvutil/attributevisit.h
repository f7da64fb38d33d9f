// Identifiers and values as their own classes: the one switch for all that treats each kind in its own way.
#pragma once

#include <utility>

#include "utilities/attributebytes/attributebytesid.h"
#include "utilities/attributebytes/attributebytesoptionvalue.h"
#include "utilities/attributebytes/attributebytesvalue.h"

/// Calls `visit` with the identifier as its own class and returns the result.
template <class Visit>
auto VisitId(const AttributeBytesId& id, Visit&& visit) {
    switch (id.GetAttributeBytesIdType()) {
        case AttributeBytesId::ABIDE_NEWFEATURE:
            return visit(static_cast<const AttributeBytesNewFeatureId&>(id));
        case AttributeBytesId::ABIDE_VALUE:
            return visit(static_cast<const AttributeBytesValueId&>(id));
        case AttributeBytesId::ABIDE_NEWVALUE:
            return visit(static_cast<const AttributeBytesNewValueId&>(id));
        case AttributeBytesId::ABIDE_LISTOFVALUESITEM:
            return visit(static_cast<const AttributeBytesListOfValuesItemId&>(id));
        case AttributeBytesId::ABIDE_CAPABILITY:
            return visit(static_cast<const AttributeBytesCapabilityId&>(id));
        case AttributeBytesId::ABIDE_NEWCAPABILITY:
            return visit(static_cast<const AttributeBytesNewCapabilityId&>(id));
        case AttributeBytesId::ABIDE_NAMESPACE:
            return visit(static_cast<const AttributeBytesNameSpacesId&>(id));
        default:
            return visit(static_cast<const AttributeBytesFeatureId&>(id));
    }
}

/// Calls `visit` with the value as its own class and returns the result.
template <class Visit>
auto VisitValue(const AttributeBytesValue& value, Visit&& visit) {
    switch (value.GetAttributeBytesValueType()) {
        case AttributeBytesValue::ABVTE_OPTION:
            return visit(static_cast<const AttributeBytesOptionValue&>(value));
        case AttributeBytesValue::ABVTE_STRING:
            return visit(static_cast<const AttributeBytesStringValue&>(value));
        case AttributeBytesValue::ABVTE_BOOLEAN:
            return visit(static_cast<const AttributeBytesBooleanValue&>(value));
        case AttributeBytesValue::ABVTE_RANGE:
            return visit(static_cast<const AttributeBytesRangeValue&>(value));
        case AttributeBytesValue::ABVTE_RANGEOFDIMENSION:
            return visit(static_cast<const AttributeBytesRangeOfDimensionValue&>(value));
        case AttributeBytesValue::ABVTE_DIMENSION:
            return visit(static_cast<const AttributeBytesDimensionValue&>(value));
        case AttributeBytesValue::ABVTE_RESOLUTION:
            return visit(static_cast<const AttributeBytesResolutionValue&>(value));
        case AttributeBytesValue::ABVTE_DATABLOB:
            return visit(static_cast<const AttributeBytesDataBlobValue&>(value));
        case AttributeBytesValue::ABVTE_LIST:
            return visit(static_cast<const AttributeBytesListValue&>(value));
        case AttributeBytesValue::ABVTE_DATETIME:
            return visit(static_cast<const AttributeBytesDateTimeValue&>(value));
        default:
            return visit(static_cast<const AttributeBytesIntegerValue&>(value));
    }
}
