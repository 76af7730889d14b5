#include <stdio.h>
#include <string.h>

#include <zepta/zepta.h>

int main(void)
{
    if (strcmp(zeptaGetVersion(-1), "") != 0) return 1;
    printf("consumer_c: backlog %d\n", zeptaBackLogDataAvailable());
    return 0;
}
