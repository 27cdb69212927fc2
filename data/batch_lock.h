// Keeps a batch process and the other users of a file apart: one lock byte for each kind of process and user.
#pragma once

/// Takes the lock of `kind` (0 to 15) for this user, waiting while another holds it. With `ask`, a key press
/// brings the question whether to go on waiting. False when the operator gives up.
bool batch_lock(int kind, bool ask);
void batch_unlock(int kind);
