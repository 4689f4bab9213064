#include "Backends/Network/CurlHandles.h"

#include <new>

namespace glimto {

CurlEasyHandle makeCurlEasyHandle()
{
    CurlEasyHandle handle(curl_easy_init());
    if (!handle)
        throw std::bad_alloc();
    return handle;
}

void appendToCurlList(CurlListHandle& list, const std::string& line)
{
    curl_slist* longer = curl_slist_append(list.get(), line.c_str());
    if (!longer)
        throw std::bad_alloc();
    static_cast<void>(list.release()); // the longer list owns it
    list.reset(longer);
}

} // namespace glimto
