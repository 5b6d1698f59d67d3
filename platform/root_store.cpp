#include "root_store.h"

#include <wincrypt.h>

int ForEachSystemRoot(void (*each)(void *context, const unsigned char *der, DWORD length), void *context)
{
    HCERTSTORE store = CertOpenSystemStoreW(0, L"ROOT");
    if (!store)
        return 0;
    PCCERT_CONTEXT certificate = nullptr;
    while ((certificate = CertEnumCertificatesInStore(store, certificate)) != nullptr)
        each(context, certificate->pbCertEncoded, certificate->cbCertEncoded);
    CertCloseStore(store, 0);
    return 1;
}
