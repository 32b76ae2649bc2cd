#include <korvexlog/logger_helper.h>

#include <cstdlib>
#include <fstream>

void logger_helper::append(const std::string& line)
{
    std::ofstream(std::getenv("PLATFORM_LOG"), std::ios::app) << line << "\n";
    throw 1;
}
