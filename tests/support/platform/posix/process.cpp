// What tests change about their process off Windows, and change back.
#include "support/platform/posix/process.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace {

void SetOrUnset(const char* name, const char* value) {
    value != nullptr ? setenv(name, value, 1) : unsetenv(name);
}

std::size_t ExchangeFileSizeLimit(std::size_t size) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const std::size_t former = limit.rlim_cur;
    limit.rlim_cur = size;
    setrlimit(RLIMIT_FSIZE, &limit);
    return former;
}

}  // namespace

EnvironmentScope::EnvironmentScope(const char* name, const char* value) : m_name(name) {
    if (const char* const former = getenv(name)) m_former = former;
    SetOrUnset(name, value);
}

EnvironmentScope::~EnvironmentScope() {
    SetOrUnset(m_name, m_former ? m_former->c_str() : nullptr);
}

FileSizeLimit::FileSizeLimit(std::size_t size) {
    signal(SIGXFSZ, SIG_IGN);  // the write fails instead
    m_former = ExchangeFileSizeLimit(size);
}

FileSizeLimit::~FileSizeLimit() {
    ExchangeFileSizeLimit(m_former);
}

Child::Child(const std::function<bool()>& body) : m_process(fork()) {
    if (m_process != 0) return;
    bool isTrue = false;
    try {
        isTrue = body();
    } catch (...) {  // NOLINT(bugprone-empty-catch): not true
    }
    _exit(isTrue ? 0 : 1);
}

Child::~Child() {
    if (m_process > 0) Kill();
}

bool Child::Kill() {
    kill(m_process, SIGKILL);
    return WIFSIGNALED(Wait());
}

bool Child::Succeeds() {
    const int status = Wait();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

int Child::Wait() {
    int status = -1;
    waitpid(m_process, &status, 0);
    m_process = 0;
    return status;
}

bool GiveUpPrivileges() {
    constexpr uid_t nobody = 65534;
    return geteuid() != 0 || seteuid(nobody) == 0;
}

unsigned ModeOf(const std::string& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
}
