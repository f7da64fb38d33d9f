// ProductData: the conversion of instructions in AMP notation.
#include <cstdint>

#include "environment/ampreader.h"
#include "environment/productdata.h"

namespace {

/// The words of a conversion's context.
enum ContextWord { OriginX, OriginY, AreaX, AreaY };

/// Appends text in the ANSI code page, of which ASCII is a part.
void AppendNarrow(ByteBuffer& out, TextView text) {
    const std::size_t begin = out.size();
    out.resize(begin + text.size());
    BYTE* const bytes = out.data() + begin;
    unsigned all = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        all |= text[i];
        bytes[i] = static_cast<BYTE>(text[i]);
    }
    if (all < 0x80) return;
    out.resize(begin);
    out.appendAscii(StringOf(text));
}

/// Appends a number in as many bytes as it needs, at least one.
void AppendNumber(ByteBuffer& out, DWORD number) {
    do {
        out.push_back(static_cast<BYTE>(number & 0xFF));
        number >>= 8;
    } while (number != 0);
}

void AppendPoint(ByteBuffer& out, const LONG* context, ContextWord x, ContextWord y) {
    out.appendValues(static_cast<std::int16_t>(context[x]), static_cast<std::int16_t>(context[y]));
}

void AppendContextValue(ByteBuffer& out, LONG type, LONG* context) {
    switch (type) {
        case AmpTypeNumber:
            AppendNumber(out, static_cast<DWORD>(context[0]));
            context[0] = 0;
            break;
        case AmpTypeOrigin:
            AppendPoint(out, context, OriginX, OriginY);
            break;
        case AmpTypePhysicalArea:
            AppendPoint(out, context, AreaX, AreaY);
            break;
        default:
            break;
    }
}

}  // namespace

bool ProductData::ConvertAmpCommands(const CXString& instruction, ByteBuffer& out, void* context) {
    AmpReader reader(ViewOf(instruction));
    for (AmpPiece piece{}; reader.Next(piece);) {
        switch (piece.kind) {
            case AmpPiece::Kind::Text:
                AppendNarrow(out, piece.text);
                break;
            case AmpPiece::Kind::Entity:
                OutputAMPValue(out, piece.command, context);
                break;
            case AmpPiece::Kind::Number:
                AppendNumber(out, piece.number);
                break;
            case AmpPiece::Kind::Unknown:
            case AmpPiece::Kind::Unterminated:
                break;  // both are dropped deliberately
        }
    }
    return true;
}

void ProductData::OutputPDLCommand(ByteBuffer& out, const CXString& text) {
    AppendNarrow(out, ViewOf(text));
}

void ProductData::OutputAMPValue(ByteBuffer& out, const AMPCMD* entry, void* context) {
    if (entry == nullptr) return;
    switch (entry->type) {
        case AmpTypeByte:
            out.push_back(static_cast<BYTE>(entry->value));
            break;
        case AmpTypeWord:
            out.appendValues(static_cast<std::int16_t>(entry->value));
            break;
        case AmpTypeLong:
            out.appendValues(entry->value);
            break;
        default:
            if (context != nullptr) AppendContextValue(out, entry->type, static_cast<LONG*>(context));
    }
}
