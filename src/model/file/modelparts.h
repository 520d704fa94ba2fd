// What the readers and writers of every model file form do alike with the parts of a model: the
// name it goes by in messages, the textures and shaders that a file brings into the inventory,
// and the order in which a writer visits the model's own shaders and their textures.
#pragma once

#include "model/mesh/meshgroup.h"
#include "model/shader/shaderimp.h"
#include "model/shader/texture.h"

#include <functional>
#include <memory>

class RenderModel;

namespace ModelParts
{
// The model's name, "" for none.
const char* ModelName(const RenderModel& model);

// Puts the texture (or shader) into the inventory unless one of its name is there already, which
// then stays. False for null, or when the inventory refuses it.
bool AddTexture(std::unique_ptr<Texture> pTexture);
bool AddShader(std::unique_ptr<ShaderImp> pShader);

// The textures of the model's own, unshared shaders (`writeTextures` once per shader, in the
// group's order; it writes those not written yet), then every shader of the model's own
// (`writeShader`). False as soon as `writeTextures` is.
bool WriteShaders(const ra::MeshGroup& group, const std::function<bool(const Shader&)>& writeTextures,
                  const std::function<void(const Shader&)>& writeShader);
} // namespace ModelParts
