// The page that shows the gallery.
#pragma once

#include <string>
#include <vector>

// A picture that the examples work on.
struct Source {
    std::string file;
    std::string caption;
};

struct Card {
    std::string title;  // operation and arguments, or what the option is for
    std::string help;   // empty for a further example of the same
    std::string caption;
    std::string command;
    std::vector<std::string> inputs;  // picture, second picture, mask
    std::string result;               // empty where nothing is written
    std::string printed;
};

struct Section {
    std::string title;
    std::vector<Card> cards;
    bool compact = false;  // the results alone, small and side by side
};

struct Page {
    std::string version;
    int width = 0;  // of the main picture
    int height = 0;
    std::size_t operations = 0;
    std::vector<Source> sources;
    std::vector<Section> sections;
};

// One file, without anything from elsewhere.
std::string renderPage(const Page &page);
