// AMPCMD: the entities, as data that is sorted and checked when it is compiled.
#include "environment/ampcommand.h"

#include <algorithm>
#include <cstdint>

#include "environment/textview.h"

namespace {

/// An entity as it is written down here.
struct Entity {
    TextView name;
    LONG value;
    LONG type = AmpTypeByte;
    BYTE flag = 0;
};

constexpr Entity entities[] = {
    // Characters of ISO 8859-1 by their usual names.
    {NV_TEXT("&AElig;"), 0xC6},
    {NV_TEXT("&Aacute;"), 0xC1},
    {NV_TEXT("&Acirc;"), 0xC2},
    {NV_TEXT("&Agrave;"), 0xC0},
    {NV_TEXT("&Aring;"), 0xC5},
    {NV_TEXT("&Atilde;"), 0xC3},
    {NV_TEXT("&Auml;"), 0xC4},
    {NV_TEXT("&Ccedil;"), 0xC7},
    {NV_TEXT("&ETH;"), 0xD0},
    {NV_TEXT("&Eacute;"), 0xC9},
    {NV_TEXT("&Ecirc;"), 0xCA},
    {NV_TEXT("&Egrave;"), 0xC8},
    {NV_TEXT("&Euml;"), 0xCB},
    {NV_TEXT("&Iacute;"), 0xCD},
    {NV_TEXT("&Icirc;"), 0xCE},
    {NV_TEXT("&Igrave;"), 0xCC},
    {NV_TEXT("&Iuml;"), 0xCF},
    {NV_TEXT("&Ntilde;"), 0xD1},
    {NV_TEXT("&Oacute;"), 0xD3},
    {NV_TEXT("&Ocirc;"), 0xD4},
    {NV_TEXT("&Ograve;"), 0xD2},
    {NV_TEXT("&Oslash;"), 0xD8},
    {NV_TEXT("&Otilde;"), 0xD5},
    {NV_TEXT("&Ouml;"), 0xD6},
    {NV_TEXT("&THORN;"), 0xDE},
    {NV_TEXT("&Uacute;"), 0xDA},
    {NV_TEXT("&Ucirc;"), 0xDB},
    {NV_TEXT("&Ugrave;"), 0xD9},
    {NV_TEXT("&Uuml;"), 0xDC},
    {NV_TEXT("&Yacute;"), 0xDD},
    {NV_TEXT("&aacute;"), 0xE1},
    {NV_TEXT("&acirc;"), 0xE2},
    {NV_TEXT("&aelig;"), 0xE6},
    {NV_TEXT("&agrave;"), 0xE0},
    {NV_TEXT("&aring;"), 0xE5},
    {NV_TEXT("&atilde;"), 0xE3},
    {NV_TEXT("&auml;"), 0xE4},
    {NV_TEXT("&brvbar;"), 0xA6},
    {NV_TEXT("&cent;"), 0xA2},
    {NV_TEXT("&deg;"), 0xB0},
    {NV_TEXT("&eacute;"), 0xE9},
    {NV_TEXT("&ecirc;"), 0xEA},
    {NV_TEXT("&egrave;"), 0xE8},
    {NV_TEXT("&eth;"), 0xF0},
    {NV_TEXT("&euml;"), 0xEB},
    {NV_TEXT("&frac12;"), 0xBD},
    {NV_TEXT("&frac14;"), 0xBC},
    {NV_TEXT("&frac34;"), 0xBE},
    {NV_TEXT("&iacute;"), 0xED},
    {NV_TEXT("&icirc;"), 0xEE},
    {NV_TEXT("&igrave;"), 0xEC},
    {NV_TEXT("&iquest;"), 0xBF},
    {NV_TEXT("&iuml;"), 0xEF},
    {NV_TEXT("&laquo;"), 0xAB},
    {NV_TEXT("&micro;"), 0xB5},
    {NV_TEXT("&middot;"), 0xB7},
    {NV_TEXT("&ntilde;"), 0xF1},
    {NV_TEXT("&oacute;"), 0xF3},
    {NV_TEXT("&ocirc;"), 0xF4},
    {NV_TEXT("&ograve;"), 0xF2},
    {NV_TEXT("&oslash;"), 0xF8},
    {NV_TEXT("&otilde;"), 0xF5},
    {NV_TEXT("&ouml;"), 0xF6},
    {NV_TEXT("&para;"), 0xB6},
    {NV_TEXT("&plusmn;"), 0xB1},
    {NV_TEXT("&pound;"), 0xA3},
    {NV_TEXT("&raquo;"), 0xBB},
    {NV_TEXT("&reg;"), 0xAE},
    {NV_TEXT("&sect;"), 0xA7},
    {NV_TEXT("&sup1;"), 0xB9},
    {NV_TEXT("&sup2;"), 0xB2},
    {NV_TEXT("&sup3;"), 0xB3},
    {NV_TEXT("&szlig;"), 0xDF},
    {NV_TEXT("&thorn;"), 0xFE},
    {NV_TEXT("&uacute;"), 0xFA},
    {NV_TEXT("&ucirc;"), 0xFB},
    {NV_TEXT("&ugrave;"), 0xF9},
    {NV_TEXT("&uuml;"), 0xFC},
    {NV_TEXT("&yacute;"), 0xFD},
    {NV_TEXT("&yen;"), 0xA5},
    {NV_TEXT("&yuml;"), 0xFF},

    // Deliberately this name lacks its "e" and this space is an ordinary one: command files rely on both.
    {NV_TEXT("&ccdil;"), 0xE7},
    {NV_TEXT("&nbsp;"), 0x20},

    // Control and markup characters.
    {NV_TEXT("&nul;"), 0x00},
    {NV_TEXT("&lf;"), 0x0A},
    {NV_TEXT("&cr;"), 0x0D},
    {NV_TEXT("&esc;"), 0x1B},
    {NV_TEXT("&quot;"), 0x22},
    {NV_TEXT("&amp;"), 0x26, AmpTypeByte, 1},
    {NV_TEXT("&lt;"), 0x3C},
    {NV_TEXT("&gt;"), 0x3E},

    // PCL XL: data types, attributes and operators.
    {NV_TEXT("&ubyte;"), 0xC0},
    {NV_TEXT("&uint16;"), 0xC1},
    {NV_TEXT("&uint16_xy;"), 0xD1},
    {NV_TEXT("&sint16_xy;"), 0xD3},
    {NV_TEXT("&attr_ubyte;"), 0xF8},
    {NV_TEXT("&MediaSize;"), 0x25},
    {NV_TEXT("&MediaType;"), 0x27},
    {NV_TEXT("&PageOrigin;"), 0x2A},
    {NV_TEXT("&CustomMediaSize;"), 0x2F},
    {NV_TEXT("&CustomMediaSizeUnits;"), 0x30},
    {NV_TEXT("&SimplexPageMode;"), 0x34},
    {NV_TEXT("&DuplexPageMode;"), 0x35},
    {NV_TEXT("&BeginPage;"), 0x43},
    {NV_TEXT("&SetPageOrigin;"), 0x75},

    // Values of the context.
    {NV_TEXT("&OriginXY;"), 0, AmpTypeOrigin},
    {NV_TEXT("&PhysicalAreaXY;"), 0, AmpTypePhysicalArea},

    // PCL XL: values of enumerations. Several names may share a value.
    {NV_TEXT("&eLetterPaper;"), 0},
    {NV_TEXT("&eLegalPaper;"), 1},
    {NV_TEXT("&eA4Paper;"), 2},
    {NV_TEXT("&eExecPaper;"), 3},
    {NV_TEXT("&eLedgerPaper;"), 4},
    {NV_TEXT("&eA3Paper;"), 5},
    {NV_TEXT("&eCOM10Envelope;"), 6},
    {NV_TEXT("&eMonarchEnvelope;"), 7},
    {NV_TEXT("&eC5Envelope;"), 8},
    {NV_TEXT("&eDLEnvelope;"), 9},
    {NV_TEXT("&eJB4Paper;"), 10},
    {NV_TEXT("&eJB5Paper;"), 11},
    {NV_TEXT("&eB5Envelope;"), 12},
    {NV_TEXT("&eJDoublePostcard;"), 13},
    {NV_TEXT("&eJPostcard;"), 14},
    {NV_TEXT("&eA5Paper;"), 16},
    {NV_TEXT("&eA6Paper;"), 17},
    {NV_TEXT("&eJB6Paper;"), 18},
    {NV_TEXT("&eStatementPaper;"), 19},
    {NV_TEXT("&eIB5Paper;"), 20},
    {NV_TEXT("&eIndexCard;"), 32},
    {NV_TEXT("&eC6Envelope;"), 37},
    {NV_TEXT("&eC4Envelope;"), 38},
    {NV_TEXT("&eLargeUSPostcard;"), 48},
    {NV_TEXT("&eSmallUSPostcard;"), 49},
    {NV_TEXT("&eB6JisPaper;"), 50},
    {NV_TEXT("&eEuroLegal;"), 17},
    {NV_TEXT("&eFrontMediaSide;"), 0},
    {NV_TEXT("&eBackMediaSide;"), 1},
    {NV_TEXT("&eSimplexFrontSide;"), 0},
    {NV_TEXT("&eDuplexHorizontalBinding;"), 0},
    {NV_TEXT("&eDuplexVerticalBinding;"), 1},
    {NV_TEXT("&eTenthsOfAMillimeter;"), 2},

    // Media sizes of products: the eDisc set.
    {NV_TEXT("&eDisc12x18;"), 148},
    {NV_TEXT("&eDisc215x315;"), 111},
    {NV_TEXT("&eDisc5x7;"), 142},
    {NV_TEXT("&eDisc8x10;"), 144},
    {NV_TEXT("&eDisc8x10_5;"), 158},
    {NV_TEXT("&eDisc9x11;"), 146},
    {NV_TEXT("&eDiscA4Over;"), 113},
    {NV_TEXT("&eDiscB4;"), 116},
    {NV_TEXT("&eDiscB5;"), 12},
    {NV_TEXT("&eDiscB6;"), 110},
    {NV_TEXT("&eDiscEnvelope6x9;"), 181},
    {NV_TEXT("&eDiscEnvelope9x12;"), 180},
    {NV_TEXT("&eDiscEnvelopeC4;"), 171},
    {NV_TEXT("&eDiscEnvelopeC6;"), 170},
    {NV_TEXT("&eDiscPostcard4x6;"), 145},
    {NV_TEXT("&eDiscSRA3;"), 112},
    {NV_TEXT("&eDiscStatement55x85;"), 143},

    // Media sizes of products: the eQV set.
    {NV_TEXT("&eQV11x15;"), 208},
    {NV_TEXT("&eQV12x18;"), 202},
    {NV_TEXT("&eQV16K194x267;"), 20},
    {NV_TEXT("&eQV215x315;"), 207},
    {NV_TEXT("&eQV5x7;"), 216},
    {NV_TEXT("&eQV8K267x388;"), 19},
    {NV_TEXT("&eQV8x10;"), 206},
    {NV_TEXT("&eQV9x11;"), 214},
    {NV_TEXT("&eQVA4Over;"), 213},
    {NV_TEXT("&eQVEnvelopeChoukei3Gou;"), 217},
    {NV_TEXT("&eQVFolio215x330;"), 205},
    {NV_TEXT("&eQVPostcard100x148;"), 14},
    {NV_TEXT("&eQVPostcard148x200;"), 15},
    {NV_TEXT("&eQVPostcard4x6;"), 215},
    {NV_TEXT("&eQVPostcard6x9;"), 225},
    {NV_TEXT("&eQVSRA3;"), 201},
    {NV_TEXT("&eQVStatement55x85;"), 204},

    // Media sizes of products: the eNrv set.
    {NV_TEXT("&eNrv12x18;"), 203},
    {NV_TEXT("&eNrv12x19;"), 214},
    {NV_TEXT("&eNrv13x19;"), 218},
    {NV_TEXT("&eNrv215x315;"), 206},
    {NV_TEXT("&eNrv215x330;"), 212},
    {NV_TEXT("&eNrv220x330;"), 199},
    {NV_TEXT("&eNrv55x7;"), 220},
    {NV_TEXT("&eNrv5x7;"), 204},
    {NV_TEXT("&eNrv725x1050;"), 3},
    {NV_TEXT("&eNrv85x134;"), 153},
    {NV_TEXT("&eNrv8K267x388;"), 205},
    {NV_TEXT("&eNrv8x10;"), 208},
    {NV_TEXT("&eNrv9x11;"), 201},
    {NV_TEXT("&eNrvA3;"), 5},
    {NV_TEXT("&eNrvA4Cover;"), 200},
    {NV_TEXT("&eNrvA4LEF;"), 2},
    {NV_TEXT("&eNrvA5;"), 15},
    {NV_TEXT("&eNrvA6;"), 17},
    {NV_TEXT("&eNrvA6Paper;"), 18},
    {NV_TEXT("&eNrvB6;"), 219},
    {NV_TEXT("&eNrvEnvelope10;"), 6},
    {NV_TEXT("&eNrvEnvelope5_5;"), 208},
    {NV_TEXT("&eNrvEnvelope6_75;"), 83},
    {NV_TEXT("&eNrvEnvelope9;"), 221},
    {NV_TEXT("&eNrvEnvelopeC4;"), 217},
    {NV_TEXT("&eNrvEnvelopeC5;"), 8},
    {NV_TEXT("&eNrvEnvelopeC6;"), 202},
    {NV_TEXT("&eNrvEnvelopeChoukei3Gou;"), 87},
    {NV_TEXT("&eNrvEnvelopeChoukei4Gou;"), 86},
    {NV_TEXT("&eNrvEnvelopeDL;"), 9},
    {NV_TEXT("&eNrvEnvelopeMonarch;"), 7},
    {NV_TEXT("&eNrvISO_B4;"), 215},
    {NV_TEXT("&eNrvISO_B5;"), 100},
    {NV_TEXT("&eNrvIndexCard3X5;"), 156},
    {NV_TEXT("&eNrvJB6Paper;"), 18},
    {NV_TEXT("&eNrvJISB4;"), 10},
    {NV_TEXT("&eNrvJISB5;"), 11},
    {NV_TEXT("&eNrvJISB6;"), 18},
    {NV_TEXT("&eNrvPostcard100x148;"), 71},
    {NV_TEXT("&eNrvPostcard148x200;"), 14},
    {NV_TEXT("&eNrvPostcard45x60;"), 13},
    {NV_TEXT("&eNrvPostcard4x6;"), 216},
    {NV_TEXT("&eNrvSRA3;"), 197},
    {NV_TEXT("&eNrvStatement55x85;"), 41},
    {NV_TEXT("&eNrvTabloid11x17;"), 4},
    {NV_TEXT("&eNrvUSLegal;"), 1},
    {NV_TEXT("&eNrvUSLetter;"), 0},
};
static_assert(std::size(entities) == ampCommandCount);

constexpr std::array<AMPCMD, ampCommandCount> SortedCommands() {
    std::array<Entity, ampCommandCount> sorted{};
    std::copy(std::begin(entities), std::end(entities), sorted.begin());
    std::sort(sorted.begin(), sorted.end(),
              [](const Entity& left, const Entity& right) { return left.name < right.name; });
    std::array<AMPCMD, ampCommandCount> commands{};
    std::transform(sorted.begin(), sorted.end(), commands.begin(), [](const Entity& entity) {
        AMPCMD command{{}, entity.value, entity.flag, entity.type};
        std::copy(entity.name.begin(), entity.name.end(), command.name.begin());
        return command;
    });
    return commands;
}

constexpr std::array<AMPCMD, ampCommandCount> commands = SortedCommands();

constexpr TextView NameOf(const AMPCMD& command) {
    return command.name.data();
}

constexpr bool IsBefore(const AMPCMD& left, const AMPCMD& right) {
    return NameOf(left) < NameOf(right);
}

constexpr bool IsEntityName(const AMPCMD& command) {
    const TextView name = NameOf(command);
    return name.size() > 2 && name.find(WChar{'&'}) == 0 && name.find(WChar{';'}) == name.size() - 1;
}

// In order, and no name twice.
static_assert(std::adjacent_find(commands.begin(), commands.end(),
                                 [](const AMPCMD& left, const AMPCMD& right) {
                                     return !IsBefore(left, right);
                                 }) == commands.end());
static_assert(std::all_of(commands.begin(), commands.end(), IsEntityName));

/// The four characters behind the "&" as one number, which orders names as far as these go.
constexpr std::uint64_t PrefixOf(TextView name) {
    std::uint64_t prefix = 0;
    for (std::size_t i = 1; i <= 4; ++i)
        prefix = prefix << 16 | (i < name.size() ? name[i] : 0U);
    return prefix;
}

constexpr std::array<std::uint64_t, ampCommandCount> Prefixes() {
    std::array<std::uint64_t, ampCommandCount> prefixes{};
    std::transform(commands.begin(), commands.end(), prefixes.begin(),
                   [](const AMPCMD& command) { return PrefixOf(NameOf(command)); });
    return prefixes;
}

constexpr std::array<std::uint64_t, ampCommandCount> prefixes = Prefixes();

/// The first entry whose prefix is not less. Which way each step goes nobody can foretell, so none is a jump.
std::size_t FindPrefix(std::uint64_t prefix) {
    const std::uint64_t* first = prefixes.data();
    for (std::size_t left = ampCommandCount; left > 0;) {
        const std::size_t half = (left + 1) / 2;
        first += first[half - 1] < prefix ? half : 0;
        left -= half;
    }
    return static_cast<std::size_t>(first - prefixes.data());
}

}  // namespace

const std::array<AMPCMD, ampCommandCount>& GetAmpCommands() {
    return commands;
}

const AMPCMD* FindAmpCommand(TextView name) {
    const std::uint64_t prefix = PrefixOf(name);
    const std::size_t first = FindPrefix(prefix);
    if (first == ampCommandCount || prefixes[first] != prefix) return nullptr;
    const AMPCMD* const last = commands.data() + FindPrefix(prefix + 1);
    const AMPCMD* const found =
        std::lower_bound(commands.data() + first, last, name,
                         [](const AMPCMD& command, TextView wanted) { return NameOf(command) < wanted; });
    return found != last && NameOf(*found) == name ? found : nullptr;
}
