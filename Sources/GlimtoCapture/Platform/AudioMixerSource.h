#pragma once

#include <string_view>

namespace glimto {

// Where a recording's sound comes from.
enum class AudioMixerSource { system, microphone };

// The source's word in messages: "system" or "microphone".
constexpr std::string_view audioMixerSourceName(AudioMixerSource source)
{
    return source == AudioMixerSource::system ? "system" : "microphone";
}

} // namespace glimto
