#pragma once
// The property through which source and target of an X Direct Save talk to each other.
#include <QByteArray>

#include <memory>

namespace platform {

/// The window property "XdndDirectSave0" of the window that offers the running drag: the source writes a file name
/// there, the target replaces it with the URL of the file it wants to have saved. Source: "Direct Save Protocol for the
/// X Window System". Main thread only.
class DirectSaveProperty {
public:
  /// The one name offered. Nobody ever saves a file of that name: targets want one to make their URL with.
  static constexpr char kLeaf[] = "mtpbrowser-drag";

  virtual ~DirectSaveProperty() = default;

  /// Writes the name, on whichever window offers the running drag. To be called once a drag, when it runs.
  virtual void offer() = 0;
  /// What stands in the property; empty when there is none, or more than any URL needs. What a target has written is
  /// taken away, so that it is not found a second time. Waits for the display server's answer.
  virtual QByteArray take() = 0;

  /// That of this program's connection to the display; nullptr when the display is not X11.
  static std::unique_ptr<DirectSaveProperty> ofDisplay();
};

} // namespace platform
