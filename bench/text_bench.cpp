// Text conversions beside iconv, Base64 beside OpenSSL, and a look-up in an INI file beside reading it.
#include <benchmark/benchmark.h>
#include <iconv.h>
#include <openssl/evp.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "nvutil.h"

namespace {

constexpr std::size_t textSize = 1 << 20;

// One MiB of text in which ever more is not ASCII.
constexpr std::string_view sentences[] = {
    "The quick brown fox jumps over the lazy dog. ",
    "Zwölf Boxkämpfer jagen Viktor quer über den großen Sylter Deich. ",
    "Съешь ещё этих мягких французских булок, да выпей же чаю. ",
    "無上甚深微妙法。百千万劫難遭遇。",
    "😀 and 🖨 ",
};
constexpr const char* languages[] = {"english", "german", "russian", "chinese", "emoji"};

std::string Text(benchmark::State& run) {
    const auto language = static_cast<std::size_t>(run.range(0));
    run.SetLabel(languages[language]);
    std::string text;
    while (text.size() + sentences[language].size() <= textSize)
        text += sentences[language];
    return text;
}

std::u16string Wide(const std::string& utf8) {
    const ByteBuffer wide = NorvaUtilities::UTF8_Decode(utf8.c_str());
    return reinterpret_cast<const WChar*>(wide.data());
}

template <class Input>
void ConvertWithIconv(benchmark::State& run, const char* to, const char* from, Input input) {
    const iconv_t conversion = iconv_open(to, from);
    std::vector<char> out(4 * textSize);
    for (auto _ : run) {
        auto* next = reinterpret_cast<char*>(input.data());
        std::size_t left = input.size() * sizeof(input[0]);
        char* end = out.data();
        std::size_t room = out.size();
        if (iconv(conversion, &next, &left, &end, &room) != 0) run.SkipWithError("iconv failed");
        benchmark::DoNotOptimize(out.data());
    }
    iconv_close(conversion);
}

void DecodeUtf8(benchmark::State& run) {
    const std::string text = Text(run);
    for (auto _ : run)
        benchmark::DoNotOptimize(NorvaUtilities::UTF8_Decode(text.c_str()));
}
BENCHMARK(DecodeUtf8)->DenseRange(0, 4);

void DecodeUtf8WithIconv(benchmark::State& run) {
    ConvertWithIconv(run, "UTF-16LE", "UTF-8", Text(run));
}
BENCHMARK(DecodeUtf8WithIconv)->DenseRange(0, 4);

void EncodeUtf8(benchmark::State& run) {
    const std::u16string text = Wide(Text(run));
    for (auto _ : run)
        benchmark::DoNotOptimize(NorvaUtilities::UTF8_Encode(text.c_str()));
}
BENCHMARK(EncodeUtf8)->DenseRange(0, 4);

void EncodeUtf8WithIconv(benchmark::State& run) {
    ConvertWithIconv(run, "UTF-8", "UTF-16LE", Wide(Text(run)));
}
BENCHMARK(EncodeUtf8WithIconv)->DenseRange(0, 4);

// Base64

std::vector<BYTE> Noise() {
    std::vector<BYTE> bytes(textSize);
    std::uint32_t state = 1;
    for (BYTE& byte : bytes)
        byte = static_cast<BYTE>((state = state * 1664525 + 1013904223) >> 24);
    return bytes;
}

std::vector<WChar> Encoded(const std::vector<BYTE>& bytes, DWORD flags) {
    int length = NorvaUtilities::Base64EncodeGetRequiredLength(static_cast<int>(bytes.size()), flags);
    std::vector<WChar> text(static_cast<std::size_t>(length));
    NorvaUtilities::Base64Encode(bytes.data(), static_cast<int>(bytes.size()), text.data(), &length, flags);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

void EncodeBase64(benchmark::State& run) {
    const auto flags = static_cast<DWORD>(run.range(0));
    run.SetLabel(flags == 0 ? "in lines" : "in one line");
    const std::vector<BYTE> bytes = Noise();
    std::vector<WChar> text(2 * textSize);
    for (auto _ : run) {
        int length = static_cast<int>(text.size());
        NorvaUtilities::Base64Encode(bytes.data(), static_cast<int>(bytes.size()), text.data(), &length,
                                     flags);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(EncodeBase64)->Arg(0)->Arg(NorvaUtilities::Base64NoLineBreaks);

void EncodeBase64WithOpenSsl(benchmark::State& run) {
    const std::vector<BYTE> bytes = Noise();
    std::vector<unsigned char> text(2 * textSize);
    for (auto _ : run)
        benchmark::DoNotOptimize(EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size())));
}
BENCHMARK(EncodeBase64WithOpenSsl);

void DecodeBase64(benchmark::State& run) {
    const auto flags = static_cast<DWORD>(run.range(0));
    run.SetLabel(flags == 0 ? "in lines" : "in one line");
    const std::vector<WChar> text = Encoded(Noise(), flags);
    std::vector<BYTE> bytes(textSize);
    for (auto _ : run) {
        int length = static_cast<int>(bytes.size());
        NorvaUtilities::Base64Decode(text.data(), static_cast<int>(text.size()), bytes.data(), &length);
        benchmark::DoNotOptimize(bytes.data());
    }
}
BENCHMARK(DecodeBase64)->Arg(0)->Arg(NorvaUtilities::Base64NoLineBreaks);

void DecodeBase64WithOpenSsl(benchmark::State& run) {
    const std::vector<WChar> wide = Encoded(Noise(), NorvaUtilities::Base64NoLineBreaks);
    const std::vector<unsigned char> text(wide.begin(), wide.end());
    std::vector<unsigned char> bytes(textSize + 3);
    for (auto _ : run)
        benchmark::DoNotOptimize(EVP_DecodeBlock(bytes.data(), text.data(), static_cast<int>(text.size())));
}
BENCHMARK(DecodeBase64WithOpenSsl);

// INI files

constexpr int keyCount = 10000;

/// A file with many keys in one section, of which the last is looked up.
class IniFile {
public:
    explicit IniFile(const char* lineEnd)
        : m_path(std::filesystem::temp_directory_path() / "nvutil_bench.ini") {
        std::ofstream file(m_path, std::ios::binary);
        file << "[Settings]" << lineEnd;
        for (int key = 0; key < keyCount; ++key)
            file << "Feature" << 10000 + key << "=some value " << key << lineEnd;
    }
    ~IniFile() { std::filesystem::remove(m_path); }
    IniFile(const IniFile&) = delete;
    IniFile& operator=(const IniFile&) = delete;

    std::u16string GetName() const { return m_path.u16string(); }
    const std::filesystem::path& GetPath() const { return m_path; }

private:
    std::filesystem::path m_path;
};

const char* LineEnd(benchmark::State& run) {
    run.SetLabel(run.range(0) == 0 ? "LF" : "CR LF");
    return run.range(0) == 0 ? "\n" : "\r\n";
}

void FindInIniFile(benchmark::State& run) {
    const IniFile file(LineEnd(run));
    const std::u16string name = file.GetName();
    WChar value[100];
    for (auto _ : run) {
        const DWORD length =
            UTF8Ini::GetPrivateProfileStringW(u"Settings", u"Feature19999", u"", value, 100, name.c_str());
        if (length == 0) run.SkipWithError("not found");
    }
}
BENCHMARK(FindInIniFile)->Arg(0)->Arg(1);

// The least that a look-up could do: every byte read once and looked at once.
void ReadAndScan(benchmark::State& run) {
    const IniFile file(LineEnd(run));
    for (auto _ : run) {
        std::ifstream in(file.GetPath(), std::ios::binary);
        std::vector<char> bytes(std::filesystem::file_size(file.GetPath()));
        in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        benchmark::DoNotOptimize(std::count(bytes.begin(), bytes.end(), '\n'));
    }
}
BENCHMARK(ReadAndScan)->Arg(0)->Arg(1);

}  // namespace
