#pragma once
// A mocked /sys with hot-plug messages, for tests of the real libudev. The program runs under umockdev's wrapper.
#include <umockdev.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace testsupport {

using Texts = std::vector<std::string>;

/// A base of fixtures. Empty at first; what a test has put into it goes with it.
class UdevBed {
protected:
  UdevBed() {
    const char* preloaded = std::getenv("LD_PRELOAD");
    if (preloaded != nullptr && std::string_view(preloaded).find("umockdev") != std::string_view::npos)
      m_bed = umockdev_testbed_new();
  }
  ~UdevBed() {
    if (m_bed != nullptr)
      g_object_unref(m_bed);
  }
  UdevBed(const UdevBed&) = delete;
  UdevBed& operator=(const UdevBed&) = delete;

  /// False: the program has to be run under umockdev-wrapper.
  bool isThere() const { return m_bed != nullptr; }

  /// Puts a device in and tells of it: its path. Attributes and properties are names and values in turn.
  std::string add(const char* subsystem, const std::string& name, const std::string& parent, Texts attributes,
                  Texts properties) {
    const auto list = [](Texts& texts) {
      std::vector<char*> pointers;
      for (std::string& text : texts)
        pointers.push_back(text.data());
      pointers.push_back(nullptr);
      return pointers;
    };
    auto attributeList = list(attributes);
    auto propertyList = list(properties);
    const std::string path =
        taken(umockdev_testbed_add_devicev(m_bed, subsystem, name.c_str(), parent.empty() ? nullptr : parent.c_str(),
                                           attributeList.data(), propertyList.data()));
    EXPECT_FALSE(path.empty()) << name;
    return path;
  }
  /// Tells of a device, "change" say.
  void tell(const std::string& path, const char* action) { umockdev_testbed_uevent(m_bed, path.c_str(), action); }
  /// Takes a device away without a word.
  void drop(const std::string& path) { umockdev_testbed_remove_device(m_bed, path.c_str()); }
  /// The message of its going, then its going.
  void remove(const std::string& path) {
    tell(path, "remove");
    drop(path);
  }
  void setAttribute(const std::string& path, const char* name, const std::string& value) {
    umockdev_testbed_set_attribute(m_bed, path.c_str(), name, value.c_str());
  }
  void setProperty(const std::string& path, const char* name, const std::string& value) {
    umockdev_testbed_set_property(m_bed, path.c_str(), name, value.c_str());
  }
  /// Lets the disk at `path`, which may come later, be found by its number ("8:16"): the test bed itself takes every
  /// number for a character device's.
  void numberDisk(const std::string& path, const std::string& number) {
    const std::string numbers = rootFolder() + "/sys/dev/block";
    std::filesystem::create_directories(numbers);
    std::filesystem::create_symlink("../.." + path.substr(std::string_view("/sys").size()), numbers + '/' + number);
  }
  /// Where the files of the mocked /sys really are.
  std::string rootFolder() { return taken(umockdev_testbed_get_root_dir(m_bed)); }

private:
  static std::string taken(gchar* text) {
    const std::string result = text == nullptr ? "" : text;
    g_free(text);
    return result;
  }

  UMockdevTestbed* m_bed = nullptr;
};

} // namespace testsupport
