#pragma once

#include "Fakes/FakeHTTPTransport.h"
#include "Fakes/FakeTextPattern.h"

namespace glimto {

// What the network's module gives, for tests that send nothing or fill in the answers.
struct FakeNetwork {
    FakeHTTPTransport http;
    FakeTextPatternCompiler textPatterns;
};

} // namespace glimto
