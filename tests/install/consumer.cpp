#include <rtk_gnss.h>

int main()
{
    const unsigned char digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    return crc32(digits, 9) == 0x2DFD2D88u && satno(SYS_GAL, 36) == 138 && g_curleap == 18 ? 0 : 1;
}
