// What the tool's own tables give to others: completion for shells, and the page for man.
#pragma once

#include <string>

// "bash" or "zsh"; empty for any other.
std::string completionFor(const std::string &shell);

// In the language of man.
std::string manPage();
