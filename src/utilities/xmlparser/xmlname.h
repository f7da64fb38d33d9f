// The names of elements and attributes.
#pragma once

#include "utilities/utilitiesdll/cxstring.h"

/// Whether a text is a name of XML 1.0, with or without a prefix.
bool IsXmlName(const CXString& name);

/// Whether an attribute can have this name and, where it declares a namespace, this value.
bool IsXmlAttribute(const CXString& name, const CXString& value);
