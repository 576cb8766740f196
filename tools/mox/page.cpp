// The page that shows the gallery: HTML and style sheet in one file, with nothing fetched from anywhere.
#include "page.h"

namespace {

constexpr const char *style = R"CSS(
:root { --paper: #f6f4ef; --card: #ffffff; --ink: #1d2430; --quiet: #667085; --line: #e3ded3; --accent: #b4532a; --code: #f2eee5; }
@media (prefers-color-scheme: dark) {
  :root { --paper: #14171d; --card: #1d222b; --ink: #e8eaee; --quiet: #98a2b3; --line: #2d3440; --accent: #f0a070; --code: #262c37; }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--paper); color: var(--ink); font: 16px/1.5 system-ui, -apple-system, "Segoe UI", Roboto, "DejaVu Sans", sans-serif; }
main, header > div { max-width: 1180px; margin: 0 auto; padding: 0 24px; }
header { background: #10151f url(picture.png) center 62% / cover; color: #fff; }
header > div { padding: 96px max(24px, calc((100% - 1132px) / 2)) 28px; background: linear-gradient(transparent, rgba(8, 12, 20, .75)); max-width: none; }
header h1 { margin: 0; font-size: 46px; letter-spacing: -.02em; text-shadow: 0 1px 12px rgba(0, 0, 0, .5); }
header p { margin: 4px 0 0; max-width: 46em; text-shadow: 0 1px 6px rgba(0, 0, 0, .7); }
nav { padding: 20px 0 4px; display: flex; flex-wrap: wrap; gap: 6px; }
nav a { font: 13px/1 ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; padding: 7px 10px; border-radius: 99px; border: 1px solid var(--line); background: var(--card); color: var(--ink); text-decoration: none; }
nav a:hover { border-color: var(--accent); color: var(--accent); }
h2 { margin: 44px 0 14px; font-size: 25px; letter-spacing: -.01em; }
.sources { display: grid; grid-template-columns: repeat(auto-fill, minmax(150px, 1fr)); gap: 14px; }
.cards { display: grid; grid-template-columns: repeat(auto-fill, minmax(min(540px, 100%), 1fr)); gap: 18px; }
.compact { grid-template-columns: repeat(5, minmax(150px, 1fr)); gap: 12px; overflow-x: auto; }
.compact article { padding: 10px; }
.compact pre { font-size: 11px; }
article { background: var(--card); border: 1px solid var(--line); border-radius: 12px; padding: 16px 18px 18px; display: flex; flex-direction: column; }
article h3 { margin: 0; font: 600 16px/1.4 ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; color: var(--accent); }
article h3.words { font-family: inherit; }
.help { margin: 2px 0 0; color: var(--quiet); font-size: 14.5px; }
.caption { margin: 8px 0 12px; }
.pictures { display: flex; gap: 10px; align-items: flex-start; margin-top: auto; }
figure { margin: 0; flex: 3 1 0; min-width: 0; }
figure.input { flex: 2 1 0; }
.two figure { flex: 1 1 0; }
figure img { display: block; width: 100%; height: auto; border-radius: 6px; background: #808080; }
img.pixels { image-rendering: pixelated; }
figcaption { font-size: 12.5px; color: var(--quiet); margin-top: 4px; overflow-wrap: anywhere; }
.result figcaption { color: var(--ink); font-weight: 600; }
pre { margin: 14px 0 0; padding: 9px 12px; background: var(--code); border-radius: 8px; font: 13px/1.5 ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; white-space: pre-wrap; overflow-wrap: anywhere; }
.printed { flex: 1 1 0; align-self: stretch; display: flex; align-items: center; justify-content: center; background: var(--code); border-radius: 6px; font: 600 19px/1.4 ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; }
.lines { display: block; padding: 10px 8px; font: 6.2px/1.12 ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; white-space: pre; overflow-x: auto; }
.lines.long { font-size: 12px; line-height: 1.35; }
footer { margin: 48px auto 40px; color: var(--quiet); font-size: 14px; }
code { font: 14px ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace; }
)CSS";

std::string escaped(const std::string &text) {
    std::string result;
    for (const char c : text) {
        switch (c) {
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '&':
                result += "&amp;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += c;
        }
    }
    return result;
}

std::string firstWord(const std::string &text) {
    return text.substr(0, text.find(' '));
}

// What is made of the tiny picture is shown pixel by pixel.
std::string image(const std::string &file, bool tiny) {
    return "<img src=\"" + escaped(file) + "\" alt=\"" + escaped(file) + "\"" + (tiny ? " class=\"pixels\"" : "") + ">";
}

std::string figure(const std::string &file, const char *kind, bool tiny) {
    return std::string("<figure class=\"") + kind + "\">" + image(file, tiny) + "<figcaption>" + escaped(file) +
           "</figcaption></figure>\n";
}

// A line is a result of its own. Several keep their columns; they are small beside a picture of a result.
std::string printed(const Card &card) {
    const bool several = card.printed.find('\n') + 1 < card.printed.size();
    const char *const kind = !several ? "printed" : card.result.empty() ? "printed lines long" : "printed lines";
    return std::string("<div class=\"") + kind + "\">" + escaped(card.printed) + "</div>\n";
}

std::string pictures(const Card &card) {
    const bool tiny = !card.inputs.empty() && card.inputs.front() == "tiny.png";
    std::string html = card.inputs.size() <= 1 ? "<div class=\"pictures two\">\n" : "<div class=\"pictures\">\n";
    for (const std::string &input : card.inputs)
        html += figure(input, "input", tiny);
    if (!card.result.empty()) html += figure(card.result, "result", tiny);
    if (!card.printed.empty()) html += printed(card);
    return html + "</div>\n";
}

std::string article(const Card &card, bool named) {
    std::string html = "<article>\n";
    if (named) {
        const std::string anchor = card.help.empty() ? "" : " id=\"" + escaped(firstWord(card.title)) + "\"";
        html += "<h3" + anchor + ">" + escaped(card.title) + "</h3>\n";
    } else {
        html += "<h3 class=\"words\">" + escaped(card.title) + "</h3>\n";
    }
    if (!card.help.empty()) html += "<p class=\"help\">" + escaped(card.help) + "</p>\n";
    html += "<p class=\"caption\">" + escaped(card.caption) + "</p>\n" + pictures(card);
    return html + "<pre>" + escaped(card.command) + "</pre>\n</article>\n";
}

std::string navigation(const Page &page) {
    std::string html = "<nav>\n";
    for (const Section &section : page.sections) {
        for (const Card &card : section.cards) {
            if (card.help.empty()) continue;
            const std::string name = escaped(firstWord(card.title));
            html += "<a href=\"#" + name + "\">" + name + "</a>\n";
        }
    }
    return html + "</nav>\n";
}

std::string sources(const Page &page) {
    std::string html = "<h2>What goes in</h2>\n<div class=\"sources\">\n";
    for (const Source &source : page.sources) {
        html += "<figure>" + image(source.file, source.file == "tiny.png") + "<figcaption><b>" + escaped(source.file) +
                "</b><br>" + escaped(source.caption) + "</figcaption></figure>\n";
    }
    return html + "</div>\n";
}

std::string sectionsHtml(const Page &page) {
    std::string html;
    for (const Section &section : page.sections) {
        html += "<h2>" + escaped(section.title) + "</h2>\n<div class=\"cards" + (section.compact ? " compact" : "") +
                "\">\n";
        bool named = false;
        for (const Card &card : section.cards)
            named = named || !card.help.empty();
        for (const Card &card : section.cards)
            html += article(card, named);
        html += "</div>\n";
    }
    return html;
}

}  // namespace

std::string renderPage(const Page &page) {
    return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>MOX "
           "gallery</title>\n<style>" +
           std::string(style) + "</style>\n</head>\n<body>\n<header><div>\n<h1>MOX gallery</h1>\n<p>" +
           std::to_string(page.operations) +
           " operations at work. Below each result stands the command that made it: run it in this folder, and you get "
           "the "
           "same bytes.</p>\n</div></header>\n<main>\n" +
           navigation(page) + sources(page) + sectionsHtml(page) + "<footer>Made by mox " + escaped(page.version) +
           ". All commands of this page stand in <code>commands.txt</code>.</footer>\n</main>\n</body>\n</html>\n";
}
