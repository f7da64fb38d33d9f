// Damaged cabinets, states, XML documents and INI files, and what the commands of this build make of each.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "differential/comparison.h"
#include "platform/cabinetformat.h"
#include "tools/toolruns.h"
#include "utilities/compression/cabinetunpacker.h"
#include "utilities/debuggingandexceptions/exceptions.h"

namespace comparison {
namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

void WriteFile(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/// The files of a folder in the order of their names, which both builds share.
std::vector<std::string> ReadFolder(const fs::path& folder) {
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(folder))
        paths.push_back(entry.path());
    if (paths.empty()) throw std::runtime_error("no seeds in " + folder.string());
    std::sort(paths.begin(), paths.end(), [](const fs::path& a, const fs::path& b) {
        return a.filename().string() < b.filename().string();
    });
    std::vector<std::string> files;
    for (const fs::path& path : paths)
        files.push_back(ReadFile(path));
    return files;
}

// --- Mutations ------------------------------------------------------------------------------------------

std::size_t PlaceIn(Random& random, const std::string& bytes) {
    constexpr std::size_t head = 100;  // where headers and entries lie
    const bool nearStart = random.Below(2) == 0;
    return random.Below(nearStart ? std::min(bytes.size(), head) : bytes.size());
}

struct Mutation {
    const char* name;
    void (*apply)(Random&, std::string&);
};

constexpr Mutation mutations[] = {
    {"set",
     [](Random& random, std::string& bytes) {
         static constexpr unsigned char special[] = {0,   1,   0x7F, 0x80, 0xFF, '<',
                                                     '&', '"', '=',  '[',  ']',  '\n'};
         const std::size_t place = PlaceIn(random, bytes);
         const bool isSpecial = random.Below(2) == 0;
         bytes[place] =
             static_cast<char>(isSpecial ? special[random.Below(std::size(special))] : random.Below(256));
     }},
    {"step",
     [](Random& random, std::string& bytes) {
         const std::size_t place = PlaceIn(random, bytes);
         bytes[place] = static_cast<char>(bytes[place] + (random.Below(2) == 0 ? 1 : -1));
     }},
    {"cut", [](Random& random, std::string& bytes) { bytes.resize(random.Below(bytes.size())); }},
    {"remove",
     [](Random& random, std::string& bytes) {
         const std::size_t place = PlaceIn(random, bytes);
         bytes.erase(place, 1 + random.Below(8));
     }},
    {"repeat",
     [](Random& random, std::string& bytes) {
         const std::size_t from = PlaceIn(random, bytes);
         const std::string piece = bytes.substr(from, 1 + random.Below(40));
         bytes.insert(PlaceIn(random, bytes), piece);
     }},
};

std::string Mutate(Random& random, std::string& bytes) {
    std::string names;
    for (std::size_t times = 1 + random.Below(3); times > 0 && !bytes.empty(); --times) {
        const Mutation& mutation = mutations[random.Below(std::size(mutations))];
        mutation.apply(random, bytes);
        names += std::string(names.empty() ? "" : "+") + mutation.name;
    }
    return names;
}

/// Takes the first block's checksum away, so that damage behind it reaches the decoder.
void DropChecksum(std::string& cabinet) {
    using namespace platform::cabinet;
    if (cabinet.size() < encodedSize<Header> + encodedSize<FolderEntry>) return;
    BYTE* const bytes = reinterpret_cast<BYTE*>(cabinet.data());
    const std::size_t block = Decode<FolderEntry>(bytes + encodedSize<Header>).dataOffset;
    if (block > cabinet.size() || cabinet.size() - block < encodedSize<DataHeader>) return;
    auto header = Decode<DataHeader>(bytes + block);
    header.checksum = 0;
    Encode(header, bytes + block);
}

// --- Verdicts -------------------------------------------------------------------------------------------

/// Status, identifier and class of a refusal, or a hash of what came out. The line of a parse exception is
/// left out, since each build's parser throws it.
std::string VerdictOf(const ToolResult& result) {
    if (result.status == 0) return "0 " + HashOf(result.out);
    std::istringstream words(result.error);
    std::string tool;
    std::string identifier;
    std::string name;
    words >> tool >> identifier >> name;
    if (identifier.starts_with("001:")) identifier = identifier.substr(0, identifier.rfind(':'));
    return std::to_string(result.status) + ' ' + identifier + ' ' + name;
}

/// The files below a folder, with what they hold.
std::string DescribeFolder(const fs::path& folder) {
    std::vector<std::string> files;
    if (fs::exists(folder)) {
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (!entry.is_regular_file()) continue;
            const std::u8string name = entry.path().lexically_relative(folder).generic_u8string();
            files.push_back(std::string(name.begin(), name.end()) + '=' + HashOf(ReadFile(entry.path())));
        }
    }
    std::sort(files.begin(), files.end());
    std::string text;
    for (const std::string& file : files)
        text += file + '\n';
    return HashOf(text);
}

/// Whether a cabinet passes our own checks and has a folder of LZX or Quantum, whose payloads only the
/// platform's decoders can judge: of damage that no checksum tells, each makes something else.
bool IsForTheDecoder(const std::string& bytes) {
    constexpr std::size_t firstFolder = 36;
    constexpr std::size_t folderSize = 8;
    try {
        const nvutil::CabinetUnpacker checked(BytesOf(bytes));
    } catch (const NorvaException&) {
        return false;
    }
    const auto byteAt = [&](std::size_t place) { return static_cast<unsigned char>(bytes[place]); };
    const bool hasReserved = (byteAt(30) & 4) != 0;
    const std::size_t folders = byteAt(26);
    bool isForeign = hasReserved;
    for (std::size_t i = 0; !hasReserved && i < folders; ++i)
        isForeign = isForeign || (byteAt(firstFolder + i * folderSize + 6) & 15) > 1;
    return isForeign;
}

std::string JudgeCabinet(const std::string& bytes, const fs::path& scratch) {
    const fs::path target = scratch / "unpacked";
    fs::remove_all(target);
    WriteFile(scratch / "input.cab", bytes);
    const ToolResult result =
        Nvutil({"product", "unpack", (scratch / "input.cab").string(), "-o", target.string()});
    if (IsForTheDecoder(bytes)) return "sound but for its payload";
    return VerdictOf({result.status, "", result.error}) + ' ' + DescribeFolder(target);
}

std::string JudgeBuffer(const std::string& bytes, const fs::path&) {
    return VerdictOf(Nvutil({"buffer", "unpack", "-"}, bytes));
}

std::string JudgeState(const std::string& bytes, const fs::path&) {
    ToolResult tree = Nvutil({"state", "show", "-"}, bytes);
    // The first line tells the compressed size, in which the builds' compressors may differ.
    if (tree.status == 0) tree.out.erase(0, tree.out.find('\n'));
    return VerdictOf(Nvutil({"state", "show", "--json", "-"}, bytes)) + ' ' + VerdictOf(tree);
}

/// White space between elements is left out: Wine's engine drops more of it than the platform's documents
/// say.
std::string JudgeXml(const std::string& bytes, const fs::path&) {
    ToolResult tree = Nvutil({"xml", "show", "-"}, bytes);
    for (const char* const blank : {" ", "\n", "\\n", "\\t", "\\r", "\"\""}) {
        const std::string_view sought(blank);
        for (std::size_t at = 0; (at = tree.out.find(sought, at)) != std::string::npos;)
            tree.out.erase(at, sought.size());
    }
    return VerdictOf(tree);
}

std::string JudgeIni(const std::string& bytes, const fs::path& scratch) {
    const std::string file = (scratch / "input.ini").string();
    WriteFile(file, bytes);
    const ToolResult sections = Nvutil({"ini", "sections", file});
    std::string all = VerdictOf(sections);
    std::istringstream names(sections.out);
    for (std::string name; std::getline(names, name);)
        all += VerdictOf(Nvutil({"ini", "keys", file, name}));
    all += VerdictOf(Nvutil({"ini", "get", file, "Device", "Model"}));
    all += VerdictOf(Nvutil({"ini", "set", file, "Device", "Copies", "3"}));
    all += VerdictOf(Nvutil({"ini", "get", file, "Device", "Copies"}));
    return VerdictOf(sections) + ' ' + HashOf(all);
}

// --- Inputs ---------------------------------------------------------------------------------------------

struct Kind {
    const char* name;
    const char* folder;
    void (*prepare)(std::string&);             ///< before the damage, or null
    std::string (*finish)(const ByteBuffer&);  ///< behind the damage, or null
    std::string (*judge)(const std::string&, const fs::path&);
};

/// What the platform's functions make of a zero is their own affair.
std::string WithoutZeros(const ByteBuffer& bytes) {
    std::string text = TextOf(bytes);
    std::replace(text.begin(), text.end(), '\0', ' ');
    return text;
}

void ExpandInPlace(std::string& state) {
    state = TextOf(Expand(state));
}

constexpr Kind kinds[] = {
    {"cabinet", "cabinet", nullptr, nullptr, &JudgeCabinet},
    {"cabinet-payload", "cabinet", &DropChecksum, nullptr, &JudgeCabinet},
    {"buffer", "buffer", nullptr, nullptr, &JudgeBuffer},
    {"state", "state", nullptr, nullptr, &JudgeState},
    {"attributes", "state", &ExpandInPlace, &Persist, &JudgeState},
    {"xml", "xml", nullptr, nullptr, &JudgeXml},
    {"ini", "ini", nullptr, &WithoutZeros, &JudgeIni},
};

}  // namespace

void WriteInputs(const InputsOptions& options, std::ostream& out) {
    std::vector<std::vector<std::string>> seeds;
    for (const Kind& kind : kinds) {
        seeds.push_back(ReadFolder(fs::path(options.seeds) / kind.folder));
        for (std::string& seed : seeds.back())
            if (kind.prepare != nullptr) kind.prepare(seed);
    }
    fs::create_directories(options.scratch);
    Random random(options.seed);
    for (std::size_t number = 1; number <= options.count; ++number) {
        const std::size_t which = number % std::size(kinds);
        const Kind& kind = kinds[which];
        std::string bytes = seeds[which][random.Below(seeds[which].size())];
        const std::string names = Mutate(random, bytes);
        if (options.only != 0 && options.only != number) continue;
        if (kind.finish != nullptr) bytes = kind.finish(BytesOf(bytes));
        if (!options.save.empty()) WriteFile(options.save, bytes);
        out << number << ' ' << kind.name << ' ' << names << ": " << std::flush;  // known when it crashes
        out << kind.judge(bytes, options.scratch) << std::endl;
    }
}

}  // namespace comparison
