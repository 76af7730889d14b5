#include <zepta/Debug.hpp>
#include <zepta/ZEPTA.hpp>

int main()
{
    ZEPTASDK::ZEPTA session;
    _korve_data_packet packet = ZEPTASDK::DefaultZEPTAPacket();
    ZEPTASDK::Debug::Log("consumer", "hello");
    return session.Write(&packet) != 0 || ZEPTASDK::Debug::GetBackLogDataAvailable() <= 0;
}
