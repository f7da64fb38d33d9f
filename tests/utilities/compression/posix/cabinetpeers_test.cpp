// Cabinets written here as other programs read them: cabextract, over libmspack, and 7-Zip.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/profilefiles.h"
#include "support/cabinettools.h"
#include "utilities/compression/cabcompressedbuffer.h"

namespace {

using namespace cabinettest;
using platform::cabinet::tcompTYPE_MSZIP;
using platform::cabinet::tcompTYPE_NONE;

/// Characters of an alphabet in no order, the same on every run.
std::string Shuffled(std::string_view alphabet, std::size_t size) {
    std::string text;
    for (const BYTE byte : Noise(size))
        text += alphabet[byte % alphabet.size()];
    return text;
}

/// Numbers, each in a row of its own.
std::string Rows(std::size_t size) {
    std::string text;
    for (int number = 1; text.size() < size; ++number)
        text += std::to_string(number) + '\n';
    return text.substr(0, size);
}

/// Letters of which no three follow each other twice in a block, so that there is nothing to refer back to:
/// after each two letters come all others once, the furthest along first.
std::string WithoutMatches(std::size_t size) {
    constexpr std::size_t letters = 41;
    std::vector<std::size_t> next(letters * letters, letters);
    std::string text;
    std::size_t last = 0;
    std::size_t last2 = 0;
    while (text.size() < size) {
        std::size_t& letter = next[last2 * letters + last];
        letter = (letter == 0 ? letters : letter) - 1;
        last2 = std::exchange(last, letter);
        text += static_cast<char>('0' + last);
    }
    return text;
}

std::string OutputOf(const std::string& command) {
    std::string output;
    std::FILE* const pipe = popen((command + " 2>/dev/null").c_str(), "r");
    char bytes[4096];
    for (std::size_t count = 0; (count = std::fread(bytes, 1, sizeof bytes, pipe)) != 0;)
        output.append(bytes, count);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

/// Cabinets in a folder, and the data of all their files one after another.
class CabinetPeers : public testing::Test {
protected:
    void Add(const std::string& what, const ByteBuffer& cabinet, const std::string& data) {
        char name[16];
        std::snprintf(name, sizeof name, "%03zu.cab", m_cabinets.size());
        std::ofstream(m_folder / name, std::ios::binary) << std::string(cabinet.begin(), cabinet.end());
        m_data += data;
        m_cabinets[m_data.size()] = what;
    }

    void ExpectReadBy(const std::string& peer, const std::string& command) {
        const std::string output = OutputOf(command);
        if (output == m_data) return;
        const auto fault = std::mismatch(m_data.begin(), m_data.end(), output.begin(), output.end()).first;
        const auto place = static_cast<std::size_t>(fault - m_data.begin());
        const auto found = m_cabinets.upper_bound(place);
        ADD_FAILURE() << peer << ": " << (found == m_cabinets.end() ? "too much" : found->second);
    }

    profiletest::Folder m_folder;
    std::string m_data;
    std::map<std::size_t, std::string> m_cabinets;  ///< By the end of their data.
};

TEST_F(CabinetPeers, ReadWhatIsWritten) {
    constexpr std::size_t largest = 98305;
    constexpr auto base64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const ByteBuffer noise = Noise(largest);
    const std::pair<const char*, std::string> kinds[] = {
        {"random", {noise.begin(), noise.end()}}, {"hexadecimal", Shuffled("0123456789abcdef", largest)},
        {"Base64", Shuffled(base64, largest)},    {"rows", Rows(largest)},
        {"constant", std::string(largest, 'x')},  {"without matches", WithoutMatches(largest)},
    };
    for (const auto& [kind, data] : kinds) {
        for (const std::size_t size :
             {1U, 2U, 100U, 32767U, 32768U, 32769U, 65535U, 65536U, 65537U, 98304U, 98305U}) {
            ByteBuffer cabinet;
            CabCompressedBuffer::CompressBuffer(reinterpret_cast<const BYTE*>(data.data()),
                                                static_cast<DWORD>(size), cabinet, -1);
            Add(kind + (" of " + std::to_string(size)), cabinet, data.substr(0, size));
        }
    }
    for (const WORD compression : {tcompTYPE_NONE, tcompTYPE_MSZIP}) {
        platform::cabinet::CCAB parameters = UsualParameters();
        parameters.cbReserveCFHeader = 20;
        parameters.cbReserveCFFolder = 3;
        parameters.cbReserveCFData = 5;
        parameters.cbFolderThresh = 40000;
        const std::string rows = Rows(70000);
        const ByteBuffer data(rows.begin(), rows.end());
        Add("reserved areas", Pack({{"a", data}, {"b", {}}, {"c", data}}, compression, parameters).cabinet,
            rows + rows);
    }

    const std::string folder = m_folder.GetPath().string();
    ExpectReadBy("cabextract", "cabextract -q -p " + folder + "/*.cab");
    ExpectReadBy("7-Zip", "7z x -so -an '-ai!" + folder + "/*.cab'");
}

}  // namespace
