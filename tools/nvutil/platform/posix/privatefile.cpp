// Files that their owner alone can open: POSIX.
#include "nvutil/platform/privatefile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool MakePrivateFile(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
    return file >= 0 && close(file) == 0;
}
