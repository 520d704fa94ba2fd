// Shared textures: textures of a common stock that models use instead of a copy of their own. Such a
// texture is known by its path, which holds "texture_share" in any case; its shader is named after
// it. A merged model then carries the shader by reference, and the shader goes, once, to a shared
// shader file (".vds", the generic form) in the generic data, after the texture's team pattern.
//
// Failures throw as the pattern export does (patternexport.h).
#pragma once

class RenderModel;
class Shader;

namespace TeamColour
{
// True when the name, lower-cased, holds "texture_share".
bool IsSharedTexture(const char* filename);

// Sets each shader of the model's mesh group shared or not by its name, a texture's path.
void MarkSharedTextures(RenderModel& model);

// For each shared shader of the model, once however many meshes use it: its team pattern, then its
// shared shader file. The project is the one whose DataGeneric folder holds `mergeFile`. False at
// the first export that fails.
bool ExportSharedShaders(const char* mergeFile, const RenderModel& model);

// Opens "<DataGeneric>\\<shader name>.vds", writes the shader whole into it (its shared flag is
// cleared while it is written and set again after) and burns it.
bool ExportSharedShader(const char* projectName, Shader* pShader);
} // namespace TeamColour
