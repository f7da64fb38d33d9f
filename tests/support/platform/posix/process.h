// What tests change about their process off Windows, and change back.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

/// Gives an environment variable another value, or none, for a while.
class EnvironmentScope {
public:
    EnvironmentScope(const char* name, const char* value);
    EnvironmentScope(const EnvironmentScope&) = delete;
    EnvironmentScope& operator=(const EnvironmentScope&) = delete;
    ~EnvironmentScope();

private:
    const char* m_name;
    std::optional<std::string> m_former;
};

/// Keeps files from growing beyond a size for a while, as a full disk does.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t size);
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit();

private:
    std::size_t m_former;
};

/// A copy of the process that runs a body and ends with it. It is killed at the latest with this object.
class Child {
public:
    explicit Child(const std::function<bool()>& body);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child();

    /// Ends it at once, whatever it is doing.
    /// @return whether it was still running
    bool Kill();
    /// Waits for its end.
    /// @return whether the body returned true
    bool Succeeds();

private:
    int Wait();

    int m_process;
};

/// Makes the process, a child, one whom permissions hold.
/// @return whether it is
bool GiveUpPrivileges();

/// The lowest nine bits of a file's mode: 0600.
unsigned ModeOf(const std::string& file);
