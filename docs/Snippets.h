// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What the C++ blocks of the pages are compiled with, unless they are whole programs.
#include <Eigen/Core>
#include <Veltrand/Core/DirectoryRepository.h>
#include <Veltrand/Core/Log.h>
#include <Veltrand/Core/Resource.h>
#include <Veltrand/Core/Signal.h>
#include <Veltrand/GL/AbstractInclude.h>
#include <Veltrand/GL/Blending.h>
#include <Veltrand/GL/ContextGLX.h>
#include <Veltrand/GL/ContextManager.h>
#include <Veltrand/GL/Debug.h>
#include <Veltrand/GL/FixedFunctionPipeline.h>
#include <Veltrand/GL/FontAtlas.h>
#include <Veltrand/GL/Framebuffer.h>
#include <Veltrand/GL/FullscreenSquare.h>
#include <Veltrand/GL/Functions.h>
#include <Veltrand/GL/ImageProgram.h>
#include <Veltrand/GL/IndexBuffer.h>
#include <Veltrand/GL/LineRenderer.h>
#include <Veltrand/GL/MultiAbstractIncludeBase.h>
#include <Veltrand/GL/ObjectPicking.h>
#include <Veltrand/GL/OffscreenRenderHelper.h>
#include <Veltrand/GL/OrderIndependentTransparency.h>
#include <Veltrand/GL/Program.h>
#include <Veltrand/GL/ProgramCache.h>
#include <Veltrand/GL/Sampler.h>
#include <Veltrand/GL/ShaderSource.h>
#include <Veltrand/GL/ShaderStorageBuffer.h>
#include <Veltrand/GL/StateGuard.h>
#include <Veltrand/GL/SyncObject.h>
#include <Veltrand/GL/TextRenderer.h>
#include <Veltrand/GL/Texture.h>
#include <Veltrand/GL/VertexArrayObject.h>
#include <Veltrand/GL/VertexBuffer.h>
#include <Veltrand/GL/ViewState.h>

#include <future>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>
