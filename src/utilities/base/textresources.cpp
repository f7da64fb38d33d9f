// The built-in texts that the library shows to its users.
#include "utilities/base/textresources.h"

#include <algorithm>
#include <array>

namespace textresources {

namespace {

struct Resource {
    unsigned id;
    std::basic_string_view<WChar> text;
};

constexpr auto resources = std::to_array<Resource>({
    {decimalSeparator, NV_TEXT(".")},
    {thousandsSeparator, NV_TEXT(",")},
    {failureTitle, NV_TEXT("Printer Driver")},
    {operationFailed, NV_TEXT("The printer driver could not complete the operation.")},
    {libraryFailureAdvice,
     NV_TEXT("Try again. If the problem persists, restart the program and report this message to your "
             "administrator.")},
    {otherFailureAdvice,
     NV_TEXT("The cause lies outside of the printer driver. Restart the program and try again.")},
    {outOfMemory,
     NV_TEXT("There is not enough memory to complete the operation. Close other programs and try "
             "again.")},
    {fileNotReadable, NV_TEXT("A file that belongs to the printer driver cannot be read.")},
    {fileAdvice, NV_TEXT("The file may be missing, in use or protected. If the problem persists, install the "
                         "printer driver again.")},
    {documentNotReadable, NV_TEXT("A document that the printer driver needs cannot be read.")},
    {documentAdvice,
     NV_TEXT("The document is damaged or was made for another version of the printer driver.")},
    {errorNumber, NV_TEXT("Error number: %s")},
});

constexpr bool Precedes(const Resource& left, const Resource& right) {
    return left.id < right.id;
}

static_assert(std::adjacent_find(resources.begin(), resources.end(),
                                 [](const Resource& left, const Resource& right) {
                                     return !Precedes(left, right);
                                 }) == resources.end(),
              "the table is searched by halves");

}  // namespace

std::basic_string_view<WChar> Find(unsigned id) {
    const auto found = std::lower_bound(resources.begin(), resources.end(), Resource{id, {}}, Precedes);
    return found != resources.end() && found->id == id ? found->text : std::basic_string_view<WChar>();
}

}  // namespace textresources
