// Private to src/rooms: what the leader and the room share.
#pragma once

// DIMSCALE of the working drawing, 1 without one: plan symbols follow it.
double WorkingDimscale();
