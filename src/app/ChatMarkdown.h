#pragma once

#include <QString>

namespace teskal {

struct Chat;

/// The whole chat as one Markdown text: its title, then each message under the name of who wrote it. Answers
/// stand as they are, files and generated media by their names.
QString chatMarkdown(const Chat& chat);

} // namespace teskal
