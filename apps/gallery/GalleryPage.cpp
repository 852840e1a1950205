// SPDX-License-Identifier: BSD-3-Clause
#include "gallery/GalleryPage.h"

#include "gallery/CodeMarkup.h"

#include <GalleryPageFiles.h>
#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sodium.h>
#include <span>
#include <stdexcept>

namespace Veltrand::Apps {

namespace {

/// The style, or the marked lines of a source by its name.
std::string_view embeddedText(std::string_view name) {
    const std::span files(GalleryPageFiles, GalleryPageFilesCount);
    const auto found = std::ranges::find(files, name, &EmbeddedFile::name);
    if (found == files.end())
        throw std::logic_error(std::string(name) + " is not embedded.");
    return {reinterpret_cast<const char*>(found->data), found->size};
}

std::string readBytes(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream || bytes.empty())
        throw std::runtime_error("cannot read " + file.string() + " back for the page.");
    return bytes;
}

std::string base64(std::string_view bytes) {
    constexpr int Variant = sodium_base64_VARIANT_ORIGINAL;
    std::string text(sodium_base64_encoded_len(bytes.size(), Variant), '\0');
    sodium_bin2base64(text.data(), text.size(), reinterpret_cast<const unsigned char*>(bytes.data()),
                      bytes.size(), Variant);
    text.pop_back(); // the terminating zero
    return text;
}

std::string inSeconds(double seconds) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f s", seconds);
    return text.data();
}

/// What is shown, as a heading.
std::string heading(const Picture& picture) {
    std::string text(picture.description);
    if (text.front() >= 'a' && text.front() <= 'z')
        text.front() = static_cast<char>(text.front() - 'a' + 'A');
    return escapedHtml(text);
}

std::string linkTo(const std::string& file) {
    const std::string name = escapedHtml(file);
    return "<a href=\"" + name + "\">" + name + "</a>";
}

std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
}

std::string figure(const GalleryPage::Entry& entry, const std::string& bytes) {
    const std::string width = std::to_string(entry.size.x());
    const std::string height = std::to_string(entry.size.y());
    std::string html = "<figure>\n<img width=\"" + width + "\" height=\"" + height + "\" alt=\"" +
                       escapedHtml(entry.alternative) + "\" src=\"data:image/png;base64," + base64(bytes) +
                       "\">\n<figcaption><ul>\n";
    html += element("li", linkTo(entry.file.filename().string())) + "\n";
    html += element("li", inSeconds(entry.seconds)) + "\n";
    html += element("li", width + " × " + height + " pixels") + "\n";
    html += element("li", std::to_string((bytes.size() + 500) / 1000) + " kB") + "\n";
    if (!entry.picture->data.empty())
        html += element("li", "with " + linkTo(std::string(entry.picture->data))) + "\n";
    return html + "</ul></figcaption>\n</figure>\n";
}

std::string source(const Picture& picture) {
    const std::size_t slash = picture.source.find('/');
    const std::string_view code = embeddedText(picture.source.substr(slash + 1));
    std::string html = "<div class=\"source\">\n<div>\n<h3>Shows</h3>\n<ul>\n";
    for (const std::string_view name : libraryNames(code))
        html += element("li", element("code", escapedHtml(name))) + "\n";
    html += "</ul>\n<h3>From</h3>\n<p><code>apps/" + escapedHtml(picture.source.substr(0, slash + 1)) +
            "<wbr>" + escapedHtml(picture.source.substr(slash + 1)) + "</code></p>\n</div>\n";
    // A stop of the tab key, since what is too wide can be scrolled.
    html += "<pre tabindex=\"0\" role=\"region\" aria-label=\"Source of " + escapedHtml(picture.name) +
            "\"><code>";
    return html + codeAsHtml(code) + "</code></pre>\n</div>\n";
}

std::string navigation(const GalleryPage::Entry& entry) {
    const std::string name = escapedHtml(entry.picture->name);
    return "<li><a href=\"#" + name + "\">" + name + "</a> <span>" + inSeconds(entry.seconds) +
           "</span></li>\n";
}

std::string section(const GalleryPage::Entry& entry) {
    const std::string name = escapedHtml(entry.picture->name);
    return "<section id=\"" + name + "\" aria-labelledby=\"" + name + "-heading\">\n<h2 id=\"" + name +
           "-heading\">" + heading(*entry.picture) + "</h2>\n" + figure(entry, readBytes(entry.file)) +
           source(*entry.picture) + "</section>\n";
}

} // namespace

std::string GalleryPage::html() const {
    std::string html = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<meta http-equiv="Content-Security-Policy"
      content="default-src 'none'; img-src data:; style-src 'unsafe-inline'">
<title>Veltrand GL gallery</title>
<style>
)";
    html += embeddedText("GalleryPage.css");
    html += R"(</style>
</head>
<body>
<header>
<h1>Veltrand GL gallery</h1>
<p>Pictures of a volume, drawn into memory by <code>libVeltrandGL</code>, each with the lines of its source that
draw it. The lines are taken from the files that were compiled into the program that made this page.</p>
<dl>
)";
    for (const auto& [name, value] : facts)
        html += element("div", element("dt", escapedHtml(name)) + element("dd", escapedHtml(value))) + "\n";
    html += "</dl>\n</header>\n<nav aria-label=\"Pictures\">\n<ol>\n";
    for (const Entry& entry : entries)
        html += navigation(entry);
    html += "</ol>\n</nav>\n<main>\n";
    for (const Entry& entry : entries)
        html += section(entry);
    return html + "</main>\n</body>\n</html>\n";
}

} // namespace Veltrand::Apps
