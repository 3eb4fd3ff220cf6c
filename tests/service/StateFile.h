#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>

/// A name for a state file in a folder of its own, which goes with the object.
class StateFile {
public:
    StateFile() {
        std::string name = (std::filesystem::temp_directory_path() / "teskal-state-XXXXXX").string();
        folder_ = ::mkdtemp(name.data()) ? name : std::string();
    }
    ~StateFile() {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    StateFile(const StateFile&) = delete;
    StateFile& operator=(const StateFile&) = delete;

    std::string path() const { return folder_ + "/service.sqlite"; }
    unsigned mode() const {
        struct stat status {};
        return ::stat(path().c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
    }
    /// The file and its journal as they are now.
    std::string bytes() const {
        std::string all;
        for (const char* suffix : {"", "-wal"}) {
            std::ifstream file(path() + suffix, std::ios::binary);
            all.append(std::istreambuf_iterator<char>(file), {});
        }
        return all;
    }

private:
    std::string folder_;
};
