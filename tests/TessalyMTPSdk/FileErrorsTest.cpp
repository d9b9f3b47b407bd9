#include "TessalyMTPSdk/FileErrors.h"

#include <gtest/gtest.h>

using namespace mtp;

TEST(FileErrors, AFullDiskAndAUsedUpQuotaAreAFullStorage) {
  EXPECT_EQ(statusOfError(ENOSPC, DGSTATUS_FILE_WRITE_FAILED), 0x1000000Au);
  EXPECT_EQ(statusOfError(EDQUOT, DGSTATUS_FILE_WRITE_FAILED), 0x1000000Au);
}

TEST(FileErrors, WhatTheUserMayNotDoIsDenied) {
  for (const int error : {EACCES, EPERM, EROFS})
    EXPECT_EQ(statusOfError(error, DGSTATUS_FILE_OPEN_FAILED), DGSTATUS_FILE_ACCESS_DENIED) << error;
}

TEST(FileErrors, ANameTheFileSystemDoesNotTakeIsTheNamesFault) {
  for (const int error : {ENAMETOOLONG, EILSEQ, EINVAL})
    EXPECT_EQ(statusOfError(error, DGSTATUS_FILE_OPEN_FAILED), DGSTATUS_FILE_INVALID_CHAR) << error;
}

TEST(FileErrors, WhatTheSystemHasNoMoreOfIsAMissingResource) {
  for (const int error : {ENOMEM, EMFILE, ENFILE})
    EXPECT_EQ(statusOfError(error, DGSTATUS_FILE_OPEN_FAILED), DGSTATUS_INSUFFICIENT_RESOURCE) << error;
}

TEST(FileErrors, AnyOtherErrorIsTheFailureOfWhatWasTried) {
  EXPECT_EQ(statusOfError(EIO, DGSTATUS_FILE_WRITE_FAILED), DGSTATUS_FILE_WRITE_FAILED);
  EXPECT_EQ(statusOfError(ENOENT, DGSTATUS_FILE_OPEN_FAILED), DGSTATUS_FILE_OPEN_FAILED);
  EXPECT_EQ(statusOfError(EFBIG, DGSTATUS_FILE_WRITE_FAILED), DGSTATUS_FILE_WRITE_FAILED);
}
