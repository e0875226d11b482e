// SPDX-License-Identifier: MIT
#include "platform/net/CurlGlobal.h"

#include <curl/curl.h>
#include <openssl/crypto.h>

bool initialiseCurl() {
    static const bool initialised = [] {
        // Threads that transfer run until the process ends: nothing may be taken away from under them at
        // exit.
        OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr);
        return curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    }();
    return initialised;
}
