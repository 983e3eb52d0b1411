// Preparing a Markdown guide for the PDF: pictures that are not there yet
// (screenshots are made by a separate step) must not leave a broken-image
// box in the printed guide.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quorvel::mdpdf {

// Tells whether a picture reference (as written in the Markdown, relative to
// the document's folder or absolute) names a readable local file.
using PictureExists = std::function<bool(std::string_view reference)>;

// Returns the text with every inline picture `![alt](reference "title")`
// whose reference does not exist replaced by its alternative text (in
// emphasis where that is safe), or dropped when that text is empty.
// References with a scheme (`https://...`) count as missing: the PDF is made
// without a network. Pictures in code blocks and code spans are text and stay
// as written; reference-style pictures `![alt][id]` are left alone.
std::string ResolvePictures(std::string_view markdown, const PictureExists& exists);

// The text of the first level-one ATX heading (`# Title`), or "".
std::string DocumentTitle(std::string_view markdown);

}  // namespace quorvel::mdpdf
