// Any bytes as a document and, behind a zero byte, as the DTD beside it: what is accepted can be walked, and
// what has no DTD reads the same once written.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>

#include "xmltrees.h"

namespace {

/// The folder of this process, in memory where there is a place for such files.
class Folder {
public:
    Folder() {
        const std::filesystem::path memory = "/dev/shm";
        m_path = (std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path()) /
                 ("nvutil_xml_fuzz_" + std::to_string(std::random_device()()));
        std::filesystem::create_directories(m_path);
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::filesystem::path& GetPath() const { return m_path; }

private:
    std::filesystem::path m_path;
};

const std::filesystem::path& FolderPath() {
    static const Folder folder;
    return folder.GetPath();
}

void Search(XmlDomNode& root) {
    const std::uint32_t elements = root.GetNumberOfElementNodesRecursive();
    FUZZ_EXPECT(root.GetNumberOfElementNodes() <= root.getNumChildNodes());
    const CXString name = root.getNodeName();
    FUZZ_EXPECT(root.GetNumberOfElementNodesRecursive(name) <= elements);
    root.FindNamedChildElementNodeRecursive(name, 1);
    root.GetLongValue();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(data, data + size);
    const std::size_t end = input.find(std::string("\0DTD", 4));
    const std::string document = input.substr(0, end);
    if (end != std::string::npos)
        std::ofstream(FolderPath() / "t.dtd", std::ios::binary) << input.substr(end + 4);
    const CXString systemId((FolderPath() / "a.xml").u16string().c_str());
    for (const bool validate : {false, true}) {
        PlatformXmlParser parser(systemId, validate);
        if (!Parse(parser, document)) continue;
        Describe(parser);
        Search(*RootOf(parser));
        // Notations of a DTD that the engine drops when it writes one are no fault of the layer.
        if (document.find("DOCTYPE") == std::string::npos && document.find('\0') == std::string::npos)
            ExpectRoundTrip(parser);
    }
    return 0;
}
