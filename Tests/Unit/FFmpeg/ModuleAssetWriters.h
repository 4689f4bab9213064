#pragma once

#include <typeinfo>

#include "Platform/AssetWriter.h"
#include "Support/ModuleTable.h"

extern "C" const glimto::ModuleTable* glimtoCaptureModule();

namespace glimto {

// What the module gives: writer and encoder put together.
inline AssetWriterFactory& moduleAssetWriters()
{
    return *static_cast<AssetWriterFactory*>(
        glimtoCaptureModule()->find(typeid(AssetWriterFactory).name(), nullptr));
}

} // namespace glimto
