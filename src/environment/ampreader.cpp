// AmpReader: takes an instruction in AMP notation apart.
#include "environment/ampreader.h"

#include <algorithm>

namespace {

bool IsDigit(WChar character) {
    return character >= WChar{'0'} && character <= WChar{'9'};
}

/// The digits at the beginning of a text.
TextView LeadingDigits(TextView text) {
    const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
    return text.substr(0, static_cast<std::size_t>(end - text.begin()));
}

/// The number that digits make; 0 for none.
DWORD NumberOf(TextView digits) {
    DWORD number = 0;
    for (const WChar digit : digits)
        number = number * 10 + (digit - DWORD{'0'});
    return number;
}

}  // namespace

bool AmpReader::Next(AmpPiece& piece) {
    if (m_rest.empty()) return false;
    const std::size_t begin = m_rest.find(WChar{'&'});
    if (begin != 0) {
        piece = {AmpPiece::Kind::Text, Take(begin), nullptr, 0};
        return true;
    }
    const std::size_t end = m_rest.find(WChar{';'});
    // Deliberately an "&" without a ";" takes the rest with it.
    piece = end == TextView::npos ? AmpPiece{AmpPiece::Kind::Unterminated, Take(end), nullptr, 0}
                                  : TakeEntity(end + 1);
    return true;
}

/// Takes a piece off the front; everything when there is less.
TextView AmpReader::Take(std::size_t length) {
    const TextView taken = m_rest.substr(0, length);
    m_rest.remove_prefix(taken.size());
    return taken;
}

AmpPiece AmpReader::TakeEntity(std::size_t length) {
    const TextView name = Take(length);
    const AMPCMD* const command = FindAmpCommand(name);
    if (command == nullptr) return {AmpPiece::Kind::Unknown, name, nullptr, 0};
    if (command->flag == 0 || !m_rest.starts_with(WChar{'#'}))
        return {AmpPiece::Kind::Entity, name, command, 0};

    const TextView digits = LeadingDigits(m_rest.substr(1));
    Take(1 + digits.size());
    return {AmpPiece::Kind::Number, name, command, NumberOf(digits)};
}
