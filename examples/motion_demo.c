/* A game loop in miniature: opens a session, streams a smooth motion at 100
 * frames per second through the C interface, shows live progress on one
 * terminal line, then prints the library's log and writes the requested pose
 * as CSV for plotting.
 *
 *   zepta-motion-demo [--seconds N] [--csv FILE] [--wait S] [--wire-log FILE]
 *
 * --wire-log names the emulator's record file, to show frames on the wire.
 */
#define _POSIX_C_SOURCE 200809L
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include "zepta/zepta.h"

#define FRAME_RATE 100
#define RATE_WINDOW 11 /* progress samples, ten per second */
#define PI 3.14159265358979323846

/* Frames on the wire are counted on the device side: the emulator appends one
 * line per position command it receives to its record file, and we follow
 * that file as it grows. */
typedef struct {
    FILE* file;
    long positions;
} WireLog;

/* Every row after the header is one position command or update datagram. */
static int IsPositionLine(const char* line)
{
    return strncmp(line, "time,", 5) != 0;
}

static long CountNewPositions(WireLog* log)
{
    char line[512];
    if (log->file == NULL) return -1;
    clearerr(log->file);
    while (fgets(line, sizeof line, log->file) != NULL) {
        if (IsPositionLine(line)) ++log->positions;
    }
    return log->positions;
}

static double Now(void)
{
    struct timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return (double)ts.tv_sec + (double)ts.tv_nsec * 1e-9;
}

static void SleepUntil(double t)
{
    struct timespec ts;
    ts.tv_sec = (time_t)t;
    ts.tv_nsec = (long)((t - (double)ts.tv_sec) * 1e9);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &ts, NULL) != 0) {
    }
}

/* A drive over gentle bumps: slow roll and pitch swells with a faster heave,
 * and a little yaw and sway from the steering. */
static void Motion(double t, _korve_data_packet* p)
{
    p->roll = (float)(0.6 * sin(2 * PI * 0.25 * t));
    p->pitch = (float)(0.5 * sin(2 * PI * 0.4 * t + 1.0));
    p->yaw = (float)(0.3 * sin(2 * PI * 0.15 * t + 0.5));
    p->heave = (float)(0.4 * sin(2 * PI * 0.9 * t) + 0.2 * sin(2 * PI * 2.1 * t));
    p->sway = (float)(0.25 * sin(2 * PI * 0.3 * t + 2.0));
    p->surge = 0.0f;
}

static void PrintBacklog(void)
{
    char buffer[512];
    int n;
    while ((n = zeptaGetBackLog(buffer, (int)sizeof buffer)) > 0) fwrite(buffer, 1, (size_t)n, stdout);
}

static int WaitForDevice(int handle, double seconds)
{
    double deadline = Now() + seconds;
    int shown = -1;
    while (Now() < deadline && zeptaGetSystemStatus(handle) == 1) {
        int state = zeptaGetState(handle);
        if (state == ZEPTA_STATE_RUNNING) return 1;
        if (state != shown) {
            printf("searching for the device (state %d)\n", state);
            shown = state;
        }
        SleepUntil(Now() + 0.05);
    }
    return zeptaGetState(handle) == ZEPTA_STATE_RUNNING;
}

int main(int argc, char** argv)
{
    double seconds = 5.0;
    double waitSeconds = 60.0;
    const char* csvPath = "motion-demo-pose.csv";
    WireLog wire = {NULL, 0};
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--seconds") == 0 && i + 1 < argc) {
            seconds = atof(argv[++i]);
        } else if (strcmp(argv[i], "--csv") == 0 && i + 1 < argc) {
            csvPath = argv[++i];
        } else if (strcmp(argv[i], "--wire-log") == 0 && i + 1 < argc) {
            wire.file = fopen(argv[++i], "r");
        } else if (strcmp(argv[i], "--wait") == 0 && i + 1 < argc) {
            waitSeconds = atof(argv[++i]);
        } else {
            fprintf(stderr, "usage: %s [--seconds N] [--csv FILE] [--wait S] [--wire-log FILE]\n", argv[0]);
            return 2;
        }
    }

    FILE* csv = fopen(csvPath, "w");
    if (csv == NULL) {
        perror(csvPath);
        return 1;
    }
    fprintf(csv, "time,roll,pitch,yaw,heave,sway,surge\n");

    int handle = zeptaOpen("MOTIONDEMO");
    if (!WaitForDevice(handle, waitSeconds)) {
        printf("\nno device connected (state %d)\n", zeptaGetState(handle));
        PrintBacklog();
        zeptaClose(handle);
        fclose(csv);
        return 1;
    }
    printf("connected: device kind %d, serial \"%s\"\n", zeptaGetDevice(handle), zeptaGetSerialNumber(handle));

    /* The library's neutral defaults, spelled out as a C application would. */
    _korve_data_packet packet;
    memset(&packet, 0, sizeof packet);
    packet.axis1 = packet.axis2 = packet.axis3 = packet.axis4 = packet.axis5 = packet.axis6 = 0.5f;
    packet.speedAxis1 = packet.speedAxis2 = packet.speedAxis3 = 0.667f;
    packet.speedAxis4 = packet.speedAxis5 = packet.speedAxis6 = 0.667f;
    packet.accelAxis = 0.5f;
    packet.rotMR = 1.0f;
    packet.graMR = 1.0f;

    CountNewPositions(&wire);
    const long before = wire.positions;
    /* The rate is taken over the last second of progress samples. */
    double sampleTime[RATE_WINDOW] = {0};
    long sampleWire[RATE_WINDOW] = {0};
    long samples = 0;
    const double start = Now();
    const long frames = (long)(seconds * FRAME_RATE);
    for (long frame = 0; frame < frames; ++frame) {
        double t = (double)frame / FRAME_RATE;
        SleepUntil(start + t);
        Motion(t, &packet);
        zeptaWrite(handle, &packet);
        fprintf(csv, "%.6f,%.6f,%.6f,%.6f,%.6f,%.6f,%.6f\n", Now(), packet.roll, packet.pitch, packet.yaw,
                packet.heave, packet.sway, packet.surge);
        if (frame % (FRAME_RATE / 10) == 0) {
            long onWire = wire.file != NULL ? CountNewPositions(&wire) - before : 0;
            int slot = (int)(samples % RATE_WINDOW);
            int oldest = (int)((samples + 1) % RATE_WINDOW);
            sampleTime[slot] = Now();
            sampleWire[slot] = onWire;
            ++samples;
            double span = samples >= RATE_WINDOW ? sampleTime[slot] - sampleTime[oldest] : 0.0;
            double rate = span > 0.0 ? (double)(onWire - sampleWire[oldest]) / span : 0.0;
            printf("\rstate %d | frames written %ld | frames on the wire %ld | %.0f frames/s   ",
                   zeptaGetState(handle), frame + 1, onWire, rate);
            fflush(stdout);
        }
    }
    printf("\n");
    zeptaClose(handle);
    if (wire.file != NULL) fclose(wire.file);
    fclose(csv);
    printf("--- library log ---\n");
    PrintBacklog();
    return 0;
}
