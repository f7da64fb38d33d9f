// MicrosoftXmlParser: the parser over MSXML 3.0.
#pragma once

#include <string>

#include "utilities/xmlparser/microsoftcomlibrary.h"
#include "utilities/xmlparser/microsoftdom.h"
#include "utilities/xmlparser/norvaxmlparser.h"

namespace nvutil {
struct CheckedDocument;
}
class _com_error;

/// What the engine itself fails at is thrown as `_com_error`.
class NVUTIL_API MicrosoftXmlParser : public NorvaXmlParser {
public:
    MicrosoftXmlParser(const CXString& systemId, bool validate);
    ~MicrosoftXmlParser() override;

    bool parse(const CXString& fileName) override;
    void parse(unsigned char* data, DWORD length) override;
    void convertToXmlStream(XmlOutputCallback& callback) override;
    std::unique_ptr<XmlDomDocument> getDocument() override;

    /// The text that users report of a COM error; docs/xml.md shows it.
    static CXString formatCOMExceptionDisplayString(const _com_error& error);

private:
    bool Load(const nvutil::CheckedDocument& document);
    bool IsValid();

    MicrosoftComLibrary m_library;  // before the document, which needs it
    MicrosoftDomDocument m_document;
    std::string m_declaredEncoding;  ///< of the document as it was read, which the engine is not told
};
