#pragma once

#include <filesystem>
#include <future>
#include <vector>

#include "Platform/AssetWriter.h"

namespace glimto {

// Makes asset writers with the encoder's module, which it opens on first use.
//
// The module stands apart because the libraries that it brings take longer to load than most commands
// take to run. Once opened it stays.
class LazyAssetWriterFactory final : public AssetWriterFactory {
public:
    // `directories` are searched in order for the module.
    explicit LazyAssetWriterFactory(std::vector<std::filesystem::path> directories);

    // Opens the module on another thread, so that it is there when the first writer is made.
    void beginLoading();

    // Throws PlatformError "The H.264 encoder is not available: ..." when the module cannot be opened.
    std::unique_ptr<AssetWriter> makeVideoWriter(const VideoEncodingSettings& settings,
        MediaTime preferredSegmentInterval, AssetWriterDelegate& delegate) override;

private:
    std::vector<std::filesystem::path> directories_;
    std::shared_future<AssetWriterFactory*> factory_;
};

} // namespace glimto
