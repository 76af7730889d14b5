/* Compiled as strict C99 against the public header: the C interface must be
 * usable from C. It calls only what needs no device. */
#include <stdio.h>
#include <string.h>

#include "zepta/zepta.h"

int main(void)
{
    _korve_data_packet packet;
    char buffer[16];
    ZEPTAAxisMode axis = ZEPTA_AXIS_PLATFORM;
    ZEPTASpeedGain speed = ZEPTA_SPEED_AS_WRITTEN;

    if (sizeof packet != 356 || offsetof(_korve_data_packet, commandBuffer) != 100) return 1;
    memset(&packet, 0, sizeof packet);
    if (strcmp(zeptaGetVersion(-1), "") != 0) return 2;
    if (zeptaGetState(-1) != -1 || zeptaWrite(-1, &packet) != -1) return 3;
    if (zeptaGetBackLog(buffer, (int)sizeof buffer) < 0) return 4;
    if (zeptaBackLogDataAvailable() < 0) return 5;
    if (zeptaIsRunning(-1) || (int)axis != 2 || (int)speed != 2) return 6;
    puts("c99 interface ok");
    return 0;
}
