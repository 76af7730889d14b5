// The twenty exported C functions: thin forwarders to a session found by its
// handle, with a fixed neutral value for a bad handle.
#include "session/session_table.h"
#include "zepta/Debug.hpp"
#include "zepta/zepta.h"

using ZEPTASDK::SessionTable;
using ZEPTASDK::ZEPTA;

namespace {

const char kEmptyText[] = "";
const char kNoSerialAssign[] = "";
constexpr int kBadHandle = -1;

ZEPTA* Find(int handle)
{
    return SessionTable::Instance().Find(handle);
}

}  // namespace

extern "C" {

int zeptaOpenSerialAssign(const char* appCode, const char* serialAssign)
{
    return SessionTable::Instance().Open(appCode, serialAssign);
}

int zeptaOpen(const char* appCode)
{
    return zeptaOpenSerialAssign(appCode, kNoSerialAssign);
}

int zeptaClose(int handle)
{
    return SessionTable::Instance().Close(handle);
}

int zeptaWrite(int handle, const _korve_data_packet* packet)
{
    ZEPTA* session = Find(handle);
    return session ? session->Write(packet) : kBadHandle;
}

void zeptaSetOriginMode(int handle, int enable)
{
    if (ZEPTA* session = Find(handle)) session->SetOriginMode(enable != 0);
}

bool zeptaGetOriginMode(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->GetOriginMode() : false;
}

void zeptaSetAxisProcessingMode(int handle, int mode)
{
    if (ZEPTA* session = Find(handle)) session->SetAxisProcessingMode(static_cast<ZEPTAAxisMode>(mode));
}

int zeptaGetAxisProcessingMode(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->GetAxisProcessingMode() : 0;
}

void zeptaSetSpeedGainMode(int handle, int mode)
{
    if (ZEPTA* session = Find(handle)) session->SetSpeedGainMode(static_cast<ZEPTASpeedGain>(mode));
}

int zeptaGetSpeedGainMode(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->GetSpeedGainMode() : 0;
}

const char* zeptaGetAppCode(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->GetAppCode() : nullptr;
}

const char* zeptaGetSerialNumber(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->GetZEPTASerialNumber() : nullptr;
}

int zeptaGetState(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->GetState() : kBadHandle;
}

int zeptaGetSystemStatus(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? (session->GetZEPTAStatus() ? 1 : 0) : kBadHandle;
}

int zeptaGetDevice(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->GetZEPTADevice() : kBadHandle;
}

int zeptaGetStatusEXT4(int handle)
{
    // A closed slot reads 0 while a handle outside the table reads -1;
    // applications rely on telling the two apart.
    if (SessionTable::Instance().IsBeyondTable(handle)) return kBadHandle;
    ZEPTA* session = Find(handle);
    return session ? session->GetStatusEXT4() : 0;
}

const char* zeptaGetVersion(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->GetVersion() : kEmptyText;
}

bool zeptaIsRunning(int handle)
{
    ZEPTA* session = Find(handle);
    return session ? session->IsRunning() : false;
}

int zeptaGetBackLog(char* buffer, int size)
{
    return ZEPTASDK::Debug::GetBackLogData(buffer, size);
}

int zeptaBackLogDataAvailable(void)
{
    return ZEPTASDK::Debug::GetBackLogDataAvailable();
}

}  // extern "C"
