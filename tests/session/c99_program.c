/* Compiled as strict C99 against the public header: the C interface must be
 * usable from C. It calls only what needs no device. */
#include "zepta/zepta.h"

int main(void)
{
    _korve_data_packet packet = {0};
    char buffer[16];

    if (sizeof packet != 356 || offsetof(_korve_data_packet, commandBuffer) != 100) return 1;
    if (zeptaGetVersion(-1)[0] != '\0' || zeptaGetState(-1) != -1 || zeptaWrite(-1, &packet) != -1) return 2;
    if (zeptaGetBackLog(buffer, (int)sizeof buffer) < 0 || zeptaBackLogDataAvailable() < 0) return 3;
    if (zeptaIsRunning(-1) || ZEPTA_AXIS_PLATFORM != 2 || ZEPTA_STATE_RUNNING != 8) return 4;
    return 0;
}
