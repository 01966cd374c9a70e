// Bytes to lines: client input is split at line feeds and ";", executed and answered line by line.
// Server thread, lock held.
#pragma once

/// One receive for the slot, of at most the free space in its buffer. @return bytes read; 0 closed; negative an error
int receive_client_packet(int slot);

inline constexpr int LINE_MAX_BYTES = 524; // a command line with its terminator

/// receive_client_packet also from a peer that no longer takes replies: its earlier input may still be there.
int receive_bytes(int slot);

/// Removes the first complete line from the slot's buffer; without one, drops bytes that are not part of a line.
/// Returns no line while the connection's first line may still be an HTTP request line.
/// @param[out] line  LINE_MAX_BYTES bytes; the line, terminated  @return whether there was one
bool take_line(int slot, char* line);

/// Examines what has been received, without taking a line. @return whether the connection's first line is told:
/// commands or an HTTP request
bool is_first_line_told(int slot);

/// Whether the connection began with an HTTP request line. Its input is not executed, and it must be closed.
bool is_http_request(int slot);

/// Executes and answers every complete line of the slot's buffer and keeps the rest.
void try_to_exec(int slot);

/// Echo helper: one receive of up to 2048 bytes, sent back unchanged. @return the receive's result
int read_and_write_back(int sock);
