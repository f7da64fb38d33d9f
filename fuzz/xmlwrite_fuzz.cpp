// Any bytes as steps that build and rearrange two documents: each can be written, and reads the same again.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "xmltrees.h"

namespace {

/// Takes steps and their arguments from the input; zeros once that is used up.
class Steps {
public:
    Steps(const std::uint8_t* data, std::size_t size) : m_next(data), m_left(size) {}

    bool IsAtEnd() const { return m_left == 0; }
    std::uint8_t TakeByte() {
        if (m_left == 0) return 0;
        --m_left;
        return *m_next++;
    }
    CXString TakeText() {
        CXString text;
        for (int length = TakeByte() % 16; length > 0; --length)
            text += static_cast<WChar>(TakeByte() | (TakeByte() % 8 == 0 ? TakeByte() << 8 : 0));
        return text;
    }
    CXString TakeName() {
        CXString name = TakeText();
        name.Remove(u':');  // a prefix would have to be declared
        return name;
    }

private:
    const std::uint8_t* m_next;
    std::size_t m_left;
};

void RunStep(Steps& steps, std::vector<std::unique_ptr<XmlDomNode>>& nodes, XmlDomDocument& document) {
    const auto pick = [&]() -> XmlDomNode& { return *nodes[steps.TakeByte() % nodes.size()]; };
    switch (steps.TakeByte() % 8) {
        case 0: {
            const auto element = document.createElement(steps.TakeName());
            nodes.push_back(element->getAsDomNode());
            break;
        }
        case 1: {
            const auto element = document.createElement(NV_TEXT("e"));
            const auto text = document.createTextNode(steps.TakeText());
            element->appendChild(*text);
            element->appendChild(*text);
            nodes.push_back(element->getAsDomNode());
            nodes.push_back(element->getAsDomNode()->getFirstChild());
            break;
        }
        case 2: {
            const auto element = document.createElement(NV_TEXT("a"));
            element->setAttribute(steps.TakeName(), steps.TakeText());
            element->setAttribute(NV_TEXT("k"), steps.TakeText());
            nodes.push_back(
                element->getAsDomNode()->getAttributes()->getNamedItem(NV_TEXT("k"))->getFirstChild());
            element->setAttribute(NV_TEXT("k"), steps.TakeText());
            nodes.push_back(element->getAsDomNode());
            break;
        }
        case 3:
        case 4:
            nodes.push_back(pick().appendChild(pick()));
            break;
        case 5:
            nodes.push_back(pick().removeChild(pick()));
            break;
        case 6:
            pick().insertNodeBetweenThisAndItsChildren(pick());
            break;
        default:
            document.getDocumentElement()->getAsDomNode()->appendChild(pick());
            break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t mostNodes = 200;  // below the depth that documents may have
    Steps steps(data, size);
    PlatformXmlParser parsers[] = {{CXString(), false}, {CXString(), false}};
    std::vector<std::unique_ptr<XmlDomNode>> nodes;
    for (PlatformXmlParser& parser : parsers) {
        Parse(parser, "<r xmlns:p='urn:p'><p:a p:k='1'>t<b/></p:a><c xml:space='preserve'> </c></r>");
        nodes.push_back(RootOf(parser)->getFirstChild());
    }
    while (!steps.IsAtEnd() && nodes.size() < mostNodes) {
        try {
            RunStep(steps, nodes, *parsers[steps.TakeByte() % 2].getDocument());
        } catch (const _com_error&) {
        }
        nodes.erase(std::remove_if(nodes.begin(), nodes.end(), [](const auto& node) { return !*node; }),
                    nodes.end());
    }
    for (PlatformXmlParser& parser : parsers) {
        try {
            ExpectRoundTrip(parser);
        } catch (const NpifParseException& exception) {
            FUZZ_EXPECT(exception.GetCode() == NpifParseException::XmlExceptionRaisedDuringXmlGeneration);
        }
    }
    return 0;
}
