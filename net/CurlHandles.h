#pragma once

#include <curl/curl.h>

#include <memory>

namespace korvane {

struct EasyDeleter {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiDeleter {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

/// A transfer, and what runs transfers.
using EasyHandle = std::unique_ptr<CURL, EasyDeleter>;
using MultiHandle = std::unique_ptr<CURLM, MultiDeleter>;

/// Whether a transfer ended because the other side could not be trusted.
inline bool isInsecure(CURLcode code) {
    switch (code) {
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CIPHER:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_INVALIDCERTSTATUS:
            return true;
        default:
            return false;
    }
}

}  // namespace korvane
