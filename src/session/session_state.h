// What a session's application thread and its update thread share.
#ifndef ZEPTA_SESSION_SESSION_STATE_H
#define ZEPTA_SESSION_SESSION_STATE_H

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "zepta/zepta.h"

namespace ZEPTASDK {

struct SessionState {
    // The last packet Write delivered, exchanged whole so neither side ever
    // sees half a frame.
    std::atomic<_korve_data_packet> latestPacket;
    // Guards the callback and the whole of every frame.
    std::mutex lock;
    // Signalled by Write, the mode setters and Close.
    std::condition_variable wakeUp;
    std::thread thread;
    // Written by Open before the thread starts, read-only while it runs.
    std::string appCode;
    std::string serialAssign;
    // Set under the lock by Close, the thread and the frame path; read without
    // it by GetZEPTAStatus, hence atomic.
    std::atomic<bool> stop{false};
    // Set without the lock by Write and the setters, cleared by the thread.
    std::atomic<bool> newData{false};
};

}  // namespace ZEPTASDK

#endif
