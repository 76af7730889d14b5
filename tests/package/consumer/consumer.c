#include <string.h>

#include <zepta/zepta.h>

/* The C interface links and answers for a handle that was never opened. */
int main(void) { return strcmp(zeptaGetVersion(-1), "") != 0 || zeptaBackLogDataAvailable() < 0; }
