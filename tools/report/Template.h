#pragma once

#include <string>

#include "tools/shared/Format.h"

namespace brio::tools {

/// A text as an HTML document shows it, in an element or between quotes, with nothing in it obeyed: neither
/// markup nor what Visible escapes.
std::string HtmlEscaped(const std::string& text);

/// Fills a template with the members of an object. In a template
///   {{name}}             is the member's text or number, escaped (HtmlEscaped);
///   {{{name}}}           is the same as it stands;
///   {{#name}}…{{/name}}  is repeated for each element of a list, in which its members come first; stands
///   once
///                        for an object or anything but null, false, "" and nothing; {{.}} is the element
///   {{^name}}…{{/name}}  stands where {{#name}} does not;
///   {{!…}}               is nothing.
/// A line that has nothing but a section's beginning or end is left out.
/// \throws std::logic_error for a member that there is not, outside {{#…}} and {{^…}}, and for sections that
/// do not match
std::string Filled(const std::string& page, const Json& members);

}  // namespace brio::tools
