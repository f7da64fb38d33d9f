// The XML parser of the build, and its wrappers.
#pragma once

#if defined(_WIN32)

#include "utilities/xmlparser/microsoftxmlparser.h"

using PlatformXmlParser = MicrosoftXmlParser;
using PlatformDomDocument = MicrosoftDomDocument;
using PlatformDomElement = MicrosoftDomElement;
using PlatformDomNamedNodeMap = MicrosoftDomNamedNodeMap;
using PlatformDomNode = MicrosoftDomNode;
using PlatformDomText = MicrosoftDomText;

#else

#include "utilities/xmlparser/libxmlparser.h"

using PlatformXmlParser = LibXmlParser;
using PlatformDomDocument = LibXmlDomDocument;
using PlatformDomElement = LibXmlDomElement;
using PlatformDomNamedNodeMap = LibXmlDomNamedNodeMap;
using PlatformDomNode = LibXmlDomNode;
using PlatformDomText = LibXmlDomText;

#endif
