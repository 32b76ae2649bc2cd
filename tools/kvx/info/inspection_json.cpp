#include "info/inspection.h"
namespace kvx {
std::string inspection_json(inspection_t&)
{
    return "";
}
}   // namespace kvx
