// Reading, walking and writing a document of 1 MiB through the XML layer, beside libxml2 alone.
#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/xmlsave.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "nvutil.h"

namespace {

constexpr std::size_t documentSize = 1 << 20;

enum Kind { Capabilities, Prose, Records };
constexpr const char* kinds[] = {"capabilities", "prose", "records"};

/// Documents of the kinds that a driver meets: nested and full of attributes, long texts, many small texts.
std::string MakeDocument(Kind kind) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n";
    for (int i = 0; xml.size() < documentSize; ++i) {
        const std::string number = std::to_string(i);
        if (kind == Capabilities) {
            xml.append("  <Feature id=\"")
                .append(number)
                .append("\" name=\"PageMediaSize\" fixed=\"None\">\n");
            xml += "    <Option name=\"ISOA4\" width=\"210000\" height=\"297000\"/>\n";
            xml.append("    <Option name=\"Letter\"><Value>").append(number).append("</Value></Option>\n");
            xml += "  </Feature>\n";
        } else if (kind == Prose) {
            xml +=
                "  <para>Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich. The quick brown ";
            xml +=
                "fox jumps over the lazy dog &amp; runs away from everything that it met on its way home, ";
            xml += "however long that may have been.</para>\n";
        } else {
            xml.append("  <r><a>").append(number).append("</a><b>text</b><c>3.14</c></r>\n");
        }
    }
    return xml + "</root>\n";
}

std::string Document(benchmark::State& run) {
    const auto kind = static_cast<Kind>(run.range(0));
    run.SetLabel(kinds[kind]);
    return MakeDocument(kind);
}

std::uint64_t Walk(XmlDomNode& node) {
    std::uint64_t units = 0;
    for (auto child = node.getFirstChild(); *child; child = child->getNextSibling()) {
        if (child->isElementNode()) {
            units += static_cast<std::uint64_t>(child->getNodeName().GetLength()) + Walk(*child);
        } else {
            units += static_cast<std::uint64_t>(child->getNodeValue().GetLength());
        }
    }
    return units;
}

std::uint64_t Walk(const xmlNode* node) {
    std::uint64_t bytes = 0;
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE) {
            bytes += static_cast<std::uint64_t>(xmlStrlen(child->name)) + Walk(child);
        } else {
            bytes += static_cast<std::uint64_t>(xmlStrlen(child->content));
        }
    }
    return bytes;
}

void ReadAndWalk(benchmark::State& run) {
    std::string xml = Document(run);
    for (auto _ : run) {
        PlatformXmlParser parser(NV_TEXT("a.xml"), false);
        parser.parse(reinterpret_cast<unsigned char*>(xml.data()), static_cast<DWORD>(xml.size()));
        benchmark::DoNotOptimize(Walk(*parser.getDocument()->getDocumentElement()->getAsDomNode()));
    }
    run.SetBytesProcessed(run.iterations() * static_cast<std::int64_t>(xml.size()));
}
BENCHMARK(ReadAndWalk)->DenseRange(Capabilities, Records);

void ReadAndWalkWithLibXml(benchmark::State& run) {
    const std::string xml = Document(run);
    for (auto _ : run) {
        xmlDoc* const document = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "a.xml", nullptr,
                                               XML_PARSE_NONET | XML_PARSE_COMPACT);
        benchmark::DoNotOptimize(Walk(xmlDocGetRootElement(document)));
        xmlFreeDoc(document);
    }
    run.SetBytesProcessed(run.iterations() * static_cast<std::int64_t>(xml.size()));
}
BENCHMARK(ReadAndWalkWithLibXml)->DenseRange(Capabilities, Records);

class Counter : public XmlOutputCallback {
public:
    void handleOutput(const BYTE* /*data*/, std::uint32_t length) override { m_length = length; }
    std::uint32_t GetLength() const { return m_length; }

private:
    std::uint32_t m_length = 0;
};

void WriteOut(benchmark::State& run) {
    std::string xml = Document(run);
    PlatformXmlParser parser(NV_TEXT("a.xml"), false);
    parser.parse(reinterpret_cast<unsigned char*>(xml.data()), static_cast<DWORD>(xml.size()));
    Counter counter;
    for (auto _ : run)
        parser.convertToXmlStream(counter);
    run.SetBytesProcessed(run.iterations() * counter.GetLength());
}
BENCHMARK(WriteOut)->DenseRange(Capabilities, Records);

void WriteOutWithLibXml(benchmark::State& run) {
    const std::string xml = Document(run);
    xmlDoc* const document = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), "a.xml", nullptr,
                                           XML_PARSE_NONET | XML_PARSE_NOBLANKS);
    int length = 0;
    for (auto _ : run) {
        xmlChar* text = nullptr;
        xmlDocDumpMemoryEnc(document, &text, &length, "UTF-8");
        benchmark::DoNotOptimize(text);
        xmlFree(text);
    }
    xmlFreeDoc(document);
    run.SetBytesProcessed(run.iterations() * length);
}
BENCHMARK(WriteOutWithLibXml)->DenseRange(Capabilities, Records);

}  // namespace
