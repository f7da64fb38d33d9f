// DataModelIds: the numbers of the driver's data model that this library itself uses.
#pragma once

#include "platform/types.h"

/// The data model belongs to the driver; only what the library reads or returns itself is named here.
namespace DataModelIds {

/// Numbers of option values. Every number of the driver's enumeration may occur.
enum tagValueEnum : LONG {
    VALUE_NONE = 5001,    ///< There is no option value to give.
    VALUE_NEW_ID = 9687,  ///< The option value is named by a text.
};

/// Numbers of features.
enum tagFeatureEnum : LONG {
    FEATURE_PAPER_WIDTH = 172,
    FEATURE_PAPER_HEIGHT = 173,
};

/// Controller families, in the order of their codes "M", "E", "D", "G" and "Y" in product data.
enum tagControllerFamilyEnum : LONG {
    CONTROLLER_FAMILY_UNKNOWN = 0,
    CONTROLLER_FAMILY_M = 1,
    CONTROLLER_FAMILY_E = 2,
    CONTROLLER_FAMILY_D = 3,
    CONTROLLER_FAMILY_G = 4,
    CONTROLLER_FAMILY_Y = 5,
};

/// Companies, in the order of their codes "NV" and "QV" in product data.
enum tagCompanyEnum : LONG {
    COMPANY_UNKNOWN = 0,
    COMPANY_NV = 1,
    COMPANY_QV = 2,
};

}  // namespace DataModelIds
