#pragma once

/// The parts of this benchmark, each of which prints one table. They run in processes of their own, and throw
/// std::runtime_error when something could not be measured.
namespace teskal::bench {

/// What an answer costs the page while it grows.
void measureStreaming();
/// How soon a long chat is there, and what it holds up.
void measureOpening();
/// What a page costs that nobody touches.
void measureIdle();
/// What the calls to the page cost the application.
void measurePushing();
/// How soon the page is there.
void measureStartup();

/// What measureStartup starts: each says "ready" on standard output when its page is there.
void openTranscriptPage();
void openBarePage();

} // namespace teskal::bench
