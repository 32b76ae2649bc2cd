#include "rtk_utils_version.h"

const char* rtk_utils_version()
{
    return RTK_UTILS_VERSION;
}
