#include "output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "error.h"

namespace kvx {

namespace {

constexpr std::size_t kStreamBuffer = 256 * 1024;
const std::timespec kStarted = [] {   // of the run, before any of its processes writes
    std::timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return now;
}();

bool made_by_this_run(const struct stat& status)
{
    const std::timespec& t = status.st_mtim;
    return t.tv_sec > kStarted.tv_sec || (t.tv_sec == kStarted.tv_sec && t.tv_nsec >= kStarted.tv_nsec);
}

}   // namespace

OutputFile::OutputFile(const std::string& folder) : folder_(folder), path_(folder + "/.kvx-XXXXXX")
{
    const int fd = ::mkstemp(path_.data());
    if (fd < 0) throw system_error(folder, "creating a file in it");
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(fd, 0666 & ~mask);
    stream_ = ::fdopen(fd, "w+b");
    if (stream_ == nullptr) throw system_error(path_, "opening");
    std::setvbuf(stream_, nullptr, _IOFBF, kStreamBuffer);
}

OutputFile::~OutputFile()
{
    if (stream_ == nullptr) return;
    std::fclose(stream_);
    ::unlink(path_.c_str());
}

void OutputFile::check(const std::string& what)
{
    if (std::fflush(stream_) != 0) throw system_error(folder_, "writing " + what);
    if (std::ferror(stream_) != 0) throw Error(folder_, "a write failed: is the disk full?", "writing " + what);
}

std::string OutputFile::publish(const std::string& name)
{
    check(name);
    const std::string target = folder_ + "/" + name;
    struct stat status {};
    if (::stat(target.c_str(), &status) == 0 && made_by_this_run(status)) {
        throw Error(target, "another log of this run has made this file",
                    "give the logs different names with --marker, or convert them one by one with --name");
    }
    const int closed = std::fclose(stream_);
    stream_ = nullptr;
    if (closed != 0 || ::rename(path_.c_str(), target.c_str()) != 0) {
        const Error error = system_error(target, "closing");
        ::unlink(path_.c_str());
        throw error;
    }
    return target;
}

void make_folder(const std::string& folder)
{
    std::error_code code;
    std::filesystem::create_directories(folder, code);
    if (!std::filesystem::is_directory(folder)) {
        throw Error(folder, code ? code.message() : "not a folder", "creating the output folder");
    }
}

}   // namespace kvx
