// A parse error of the library's own, in the platform's form.
#pragma once

#include <msxml2.h>

#include "utilities/xmlparser/compointer.h"
#include "utilities/xmlparser/xmlparseerror.h"

/// Makes an object that tells what the library's own check found, as the engine's objects do.
nvutil::ComPointer<IXMLDOMParseError> MakeParseError(const nvutil::XmlParseError& error);
