// The exporter's name rules: model names from paths, reference files, and source paths turned into
// project roots, "DATA:" names, texture names and XRef names. Buffers hold FilePath::MAXPATH.
#pragma once

#include "host/inode.h"

#include <string>

// The model's name: the file part of the path, or the model folder for ".../REFERENCE/REF.SGM".
void GetModelName(std::string& outName, const char* filepath);
// True when the name ends in "REFERENCE\REF.SGM", ignoring case.
bool IsReferenceFile(const char* filename);
// The file under project root `root` that stands where `sourceFilename` stands under root 0.
// False, with outFilename untouched, when no project or root is found.
bool SourceToRoot(std::string& outFilename, const char* sourceFilename, int root);
// The same below "DATA:", the data root's alias.
bool SourceToData(std::string& outFilename, const char* sourceFilename);
// The texture's inventory name: file and extension of its "DATA:" name; empty when it has none.
bool GetTextureName(std::string& outName, const char* inName);
// Forward slashes, lower case.
void NormalisePath(std::string& newPath, const char* oldPath);
// The XRef's model folder below the data root, normalised; false when the node is no XRef.
bool GetXRefName(host::INode* pNode, std::string& outName);
