// AmpReader: takes an instruction in AMP notation apart.
#pragma once

#include "environment/ampcommand.h"
#include "environment/textview.h"
#include "platform/internalapi.h"

/// A piece of an instruction.
struct AmpPiece {
    enum class Kind {
        Text,          ///< Characters that stand for themselves.
        Entity,        ///< An entity of the table.
        Number,        ///< A number behind an entity that may have one.
        Unknown,       ///< An entity that is not in the table.
        Unterminated,  ///< An "&" without ";" behind it, and all that follows.
    };

    Kind kind;
    TextView text;          ///< The characters of the piece, of a Number those of its entity.
    const AMPCMD* command;  ///< Of an Entity or a Number.
    DWORD number;           ///< Of a Number; what exceeds 32 bits is cut off.
};

/// Reads an instruction piece by piece. The text must outlive the reader and its pieces.
class NVUTIL_INTERNAL_API AmpReader {
public:
    explicit AmpReader(TextView instruction) : m_rest(instruction) {}

    /// Reads the next piece.
    /// @return false at the end; the piece is unchanged then
    bool Next(AmpPiece& piece);

private:
    TextView Take(std::size_t length);
    AmpPiece TakeEntity(std::size_t length);

    TextView m_rest;
};
