#include <string.h>

#include <zepta/zepta.h>

int main(void) { return strcmp(zeptaGetVersion(-1), "") != 0 || zeptaBackLogDataAvailable() < 0; }
