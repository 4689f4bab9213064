#pragma once

#include <exception>
#include <vector>

#include "Platform/ShareableContent.h"

namespace glimto {

// Answers every query with the same content, or throws.
class FakeShareableContentProvider final : public ShareableContentProvider {
public:
    ShareableContent content;
    std::exception_ptr error; // thrown instead when set
    std::vector<ContentQuery> queries; // of all fetches so far

    ShareableContent fetch(const ContentQuery& query) override
    {
        queries.push_back(query);
        if (error)
            std::rethrow_exception(error);
        return content;
    }
};

} // namespace glimto
