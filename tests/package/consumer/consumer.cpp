#include <cstdio>

#include <zepta/Debug.hpp>
#include <zepta/ZEPTA.hpp>

int main()
{
    ZEPTASDK::ZEPTA session;
    _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    ZEPTASDK::Debug::Log("consumer", "hello");
    std::printf("consumer_cpp: version %s, speed %.3f, log %d\n", session.GetVersion(), packet.speedAxis1,
                ZEPTASDK::Debug::GetBackLogDataAvailable());
    return session.Write(&packet);
}
