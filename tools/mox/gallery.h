// The gallery: every operation shown at work.
#pragma once

#include <string>

// Writes pictures, index.html and commands.txt into folder, which is made if need be. Without a picture a scene is
// drawn.
void writeGallery(const std::string &folder, const std::string &picture);
