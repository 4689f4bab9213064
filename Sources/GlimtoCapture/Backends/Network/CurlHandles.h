#pragma once

#include <memory>
#include <string>

#include <curl/curl.h>

namespace glimto {

struct CurlDeleter {
    void operator()(CURL* handle) const noexcept { curl_easy_cleanup(handle); }
    void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
    void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};

using CurlEasyHandle = std::unique_ptr<CURL, CurlDeleter>;
using CurlListHandle = std::unique_ptr<curl_slist, CurlDeleter>;
using CurlURLHandle = std::unique_ptr<CURLU, CurlDeleter>;

// Throws std::bad_alloc, the only reason for which the library makes none.
CurlEasyHandle makeCurlEasyHandle();

// Appends a copy of `line`.
void appendToCurlList(CurlListHandle& list, const std::string& line);

} // namespace glimto
