// How a process that uses the library may end: with its threads at work, and with static objects that still
// seal.
//
//   endings exit      leaves main while eight threads work
//   endings repeat N  runs that N times, each in a process of its own
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>

#include "platform/work.h"
#include "utilities/attributebytes/persistentattributes.h"
#include "utilities/utilitiesdll/dataencrypter.h"

namespace {

ByteBuffer sealedInMain;

// Made before main and so destroyed after everything that the library made meanwhile.
struct LateUser {
    ~LateUser() {
        Work();
        const bool isRight = DataEncrypter::DecryptBytes(sealedInMain).size() == 3 &&
                             PersistentAttributes::GetDataModelDocPropNameSpaceId().GetNameSpaceId() == 1;
        if (!isRight) std::_Exit(2);
    }
};
const LateUser lateUser;

int LeaveWhileThreadsWork() {
    std::atomic<int> atWork = 0;
    for (int i = 0; i < 8; ++i) {
        std::thread([&atWork] {
            for (;;) {
                Work();
                ++atWork;
            }
        }).detach();
    }
    sealedInMain = DataEncrypter::EncryptBytes(ByteBuffer(3, BYTE{7}));
    Work();
    while (atWork < 8)
        std::this_thread::yield();
    std::exit(0);  // not a return: the threads count on
}

int Repeat(const std::string& program, int times) {
    for (int i = 0; i < times; ++i) {
        const int status = std::system(('"' + program + "\" exit").c_str());
        if (status != 0) {
            std::printf("run %d ended with %d\n", i, status);
            return 1;
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view mode = argc > 1 ? argv[1] : "";
    if (mode == "exit") return LeaveWhileThreadsWork();
    if (mode != "repeat" || argc != 3) return 2;
    sealedInMain = DataEncrypter::EncryptBytes(ByteBuffer(3, BYTE{7}));
    return Repeat(argv[0], std::atoi(argv[2]));
}
