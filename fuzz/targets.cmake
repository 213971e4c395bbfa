# The fuzz targets: fuzz_target(NAME LIBRARY) stands for NAME.cpp with the seeds in corpus/NAME/. Whoever
# includes this file says what becomes of one.
fuzz_target(json halvercine_base)
fuzz_target(propertyList halvercine_base)
fuzz_target(text halvercine_base)
fuzz_target(mailbox halvercine_bitlocker)
fuzz_target(enabledModules halvercine_mount)
fuzz_target(scenario halvercine_simulated)
fuzz_target(diskutil halvercine_disks)
fuzz_target(lsof halvercine_disks)
fuzz_target(operationLog halvercine_operations)
fuzz_target(checkOutput halvercine_check)
fuzz_target(checkReport halvercine_check)
fuzz_target(checkMailbox halvercine_check)
