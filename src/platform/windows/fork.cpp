// Processes do not fork here.
#include "platform/fork.h"

namespace platform {

void TakePartInForks(ForkedPart /*part*/, const ForkHandlers& /*handlers*/) {}

bool MakeBeforeForks(void (* /*make*/)()) {
    return true;
}

}  // namespace platform
