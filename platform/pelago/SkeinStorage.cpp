#include <pelago/pelago.h>

const char *Skein_Storage_getServerAddress(Skein_Service_Deployment)
{
    return "";
}

int64_t Skein_Storage_createEndPoint(int64_t, const char *, int, const char *, int, int)
{
    return Skein_Result_UnknownHandle;
}

void Skein_Storage_destroyEndPoint(int64_t) {}

int Skein_Storage_listContents(int64_t, const char *, Skein_ContentCb, void *)
{
    return Skein_Result_UnknownHandle;
}

int Skein_Storage_downloadFile(int64_t, const char *, const char *, const char *, const char *, Skein_ProgressCb,
                               Skein_TransferCb, void *, void *)
{
    return Skein_Result_UnknownHandle;
}

int Skein_Storage_uploadFiles(int64_t, const char *, const char *const *, const char *const *, int, Skein_ProgressCb,
                              Skein_TransferCb, void *, void *)
{
    return Skein_Result_UnknownHandle;
}

int Skein_Storage_updateFile(int64_t, const char *, const char *, int, const char *, Skein_ProgressCb, Skein_TransferCb,
                             void *, void *)
{
    return Skein_Result_UnknownHandle;
}
