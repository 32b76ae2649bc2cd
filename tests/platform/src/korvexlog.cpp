#include <korvexlog/logger_helper.h>

#include <cstdlib>

void logger_helper::append(const std::string& line) noexcept
{
    std::FILE* file = std::fopen(std::getenv("PLATFORM_LOG"), "a");
    if (file == nullptr) return;
    std::fprintf(file, "%s\n", line.substr(0, line.find_last_not_of('\n') + 1).c_str());
    std::fclose(file);
}
