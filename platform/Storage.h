#pragma once
#include <cstdint>
#include <string>

// File system helpers of the host platform.
class Storage {
public:
    // Creates `path` and its missing parents (mode 0777 less the umask, so 0755 under the usual 022).
    // True when the directory exists after.
    static bool makeDir(const std::string& path);
    // Deletes `path` with everything below it. Symbolic links are removed, never followed, so
    // nothing outside `path` is touched. True when nothing of it is left.
    static bool deleteDirectory(const std::string& path);
    // True when something exists at `path` (stat succeeds).
    static bool fileExists_stat(const std::string& path);
    // Size in bytes of the file at `path`; -1 when it cannot be read.
    static std::int64_t fileSize(std::string path);
};
