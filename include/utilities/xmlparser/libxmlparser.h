// LibXmlParser: the parser over libxml2.
#pragma once

#include <memory>

#include "utilities/xmlparser/libxmldom.h"
#include "utilities/xmlparser/norvaxmlparser.h"

class _com_error;

class NVUTIL_API LibXmlParser : public NorvaXmlParser {
public:
    LibXmlParser(const CXString& systemId, bool validate);
    ~LibXmlParser() override;

    bool parse(const CXString& fileName) override;
    void parse(unsigned char* data, DWORD length) override;
    void convertToXmlStream(XmlOutputCallback& callback) override;
    std::unique_ptr<XmlDomDocument> getDocument() override;

    /// The text that users report of a COM error; docs/xml.md shows it.
    static CXString formatCOMExceptionDisplayString(const _com_error& error);

private:
    std::shared_ptr<LibXmlContent> m_content;
};
