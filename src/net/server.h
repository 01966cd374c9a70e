// The client server: a listening socket and one thread that accepts, polls and serves all clients.
#pragma once

#include <cstdint>

/// Opens `port` (16 bits) and starts the server thread; a failure sets signals.socket_error_occurred and starts none.
void start_tcp_server(int port);

/// @return the listening socket, or -1 after a line on standard error
int init_socket(int port);

/// Accepts one connection and gives it a slot and a turtle. @return its socket; -1 refused, after closing it
int accept_connection(int listen_sock);

/// @return ns until the next try to accept may succeed: after one that found no descriptor or memory there is a pause
int64_t accept_pause();

/// Closes a connection that began with an HTTP request line; its turtle is removed without leaving a zombie.
/// Server thread, lock held. @return whether it was one
bool turn_away_http(int slot);

/// One poll of the listening socket, at most 5 ms. @return 0
int check_connection(int listen_sock);

/// One poll of all clients, at most 5 ms: serves requests to disconnect, then every ready client. @return 0
int check_client_status();

/// Closes the slot's connection, logs that and frees the slot; a free slot or an index outside the table is ignored.
/// The turtle is not touched. Server thread, lock held.
void disconnect_client(int slot);
