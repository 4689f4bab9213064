#pragma once

#include <typeinfo>

#include "Platform/AssetWriter.h"
#include "Support/ModuleTable.h"

extern "C" const glimto::ModuleTable* glimtoCaptureModule();

namespace glimto {

// What the module gives: writer and encoder put together.
inline VideoAssetWriterFactory& moduleAssetWriters()
{
    return *static_cast<VideoAssetWriterFactory*>(
        glimtoCaptureModule()->find(typeid(VideoAssetWriterFactory).name(), nullptr));
}

} // namespace glimto
