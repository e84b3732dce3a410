// What a fault in this program could not do either: rights of root that no command needs, calls to
// the system that none makes, and a look into its memory.
#pragma once

namespace quillmore::updatetool {

/// Gives up all other capabilities of root, also those that could be had again. Call first. False
/// when the system does not let it; true, with nothing done, for a process without root.
bool keepNeededCapabilities();
/// From here on nothing is executed, mounted or traced, no socket is made and no other namespace
/// entered, and no program that could be started has more rights than this one. Call when the log
/// is open. A system that cannot do it goes without.
void forbidWhatNobodyNeeds();
/// Neither traced nor dumped. Changing the effective user may take it back: call again then.
void makeUndumpable();

}  // namespace quillmore::updatetool
