// NorvaXmlParser: what every parser keeps.
#include "utilities/xmlparser/norvaxmlparser.h"

XmlOutputCallback::~XmlOutputCallback() = default;

NorvaXmlParser::NorvaXmlParser(const CXString& documentPath, bool mustBeValid)
    : systemId(documentPath), validate(mustBeValid) {}

NorvaXmlParser::~NorvaXmlParser() = default;
