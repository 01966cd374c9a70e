// Bytes to lines: what a client sends is cut at line feeds and ";", executed and answered line by line.
// Server thread, lock held.
#pragma once

/// One receive for the slot, of no more than its buffer can take. @return bytes read; 0 closed; negative an error
int receive_client_packet(int slot);

/// Executes and answers every complete line of the slot's buffer and keeps the rest.
void try_to_exec(int slot);

/// Echo helper: one receive of up to 2048 bytes, sent back unchanged. @return the receive's result
int read_and_write_back(int sock);
