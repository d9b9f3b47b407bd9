#pragma once
// The embedded phone's contents: a believable tree of generated photos, music and documents.
#include <QString>

/// The folders that make the embedded phone's two storages.
struct SampleTree {
  QString phoneFolder;
  QString cardFolder;
};

/// Gives the sample tree below `folder`, made now if it is not there yet: about a hundred generated files with dates
/// over several years, nested folders, names in many scripts. What a user changed in an existing tree stays. The tree
/// is built beside its place and renamed into it, so an interrupted start never leaves half a phone. Blocks for the
/// writing (some 3 MB, under two seconds). Returns empty paths and logs when it cannot be written. Any thread.
SampleTree ensureSampleTree(const QString& folder);
