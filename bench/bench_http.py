#!/usr/bin/python3
"""Requests per second for /turtle with ten turtles on the field, beside nginx serving the same bytes as a static file.

Usage: bench/bench_http.py [PROGRAM], by default build/release/kelmora; needs the Debian packages nginx-light and wrk
besides those of the tests. Both servers run the whole time, and one load generator alternates between them over kept
connections, so that other load affects both. Prints one CSV line for each round, then medians:
requests per second of each, their ratio, and the latency of one client that requests repeatedly.
Everything runs in a network namespace with only loopback, and is ended by process id.
"""
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.realpath(__file__))
ROOT = os.path.dirname(HERE)
TURTLES = 10
ROUNDS = 7
SECONDS = 2     # of one run of the load generator
CONNECTIONS = 8
NGINX_PORT = 8080
FIELD_URL = "http://127.0.0.1:2280/turtle"
NGINX_URL = "http://127.0.0.1:%d/turtle" % NGINX_PORT

# One worker for each core and no log, nginx's fastest setting; everything else is default.
NGINX_CONF = """
daemon off;
worker_processes auto;
pid {scratch}/pid;
error_log {scratch}/error.log;
events {{ worker_connections 256; }}
http {{
    access_log off;
    keepalive_requests 100000000;
    sendfile on;
    tcp_nopush on;
    types {{ }}
    default_type application/json;
    client_body_temp_path {scratch}/body;
    proxy_temp_path {scratch}/proxy;
    fastcgi_temp_path {scratch}/fastcgi;
    uwsgi_temp_path {scratch}/uwsgi;
    scgi_temp_path {scratch}/scgi;
    server {{
        listen 127.0.0.1:{port};
        root {scratch}/www;
    }}
}}
"""


class Nginx:
    def __init__(self, body):
        self.scratch = tempfile.mkdtemp(prefix="kelmora-bench-")
        os.chmod(self.scratch, 0o755)  # the workers may run as another user
        www = os.path.join(self.scratch, "www")
        os.mkdir(www)
        with open(os.path.join(www, "turtle"), "wb") as file:
            file.write(body)
        conf = os.path.join(self.scratch, "conf")
        with open(conf, "w") as file:
            file.write(NGINX_CONF.format(scratch=self.scratch, port=NGINX_PORT))
        self.process = subprocess.Popen([program("nginx"), "-c", conf, "-p", self.scratch, "-e",
                                         os.path.join(self.scratch, "error.log")])

    def close(self):
        self.process.terminate()
        self.process.wait(timeout=20)
        shutil.rmtree(self.scratch, ignore_errors=True)


def program(name):
    found = shutil.which(name, path=os.environ["PATH"] + ":/usr/sbin")
    if not found:
        sys.exit("%s is missing (Debian packages: nginx-light wrk)" % name)
    return found


def load(url, connections):
    """One run of the load generator: requests per second and the median latency in milliseconds."""
    said = subprocess.run([program("wrk"), "-t1", "-c%d" % connections, "-d%ds" % SECONDS, "--latency", url],
                          capture_output=True, text=True, timeout=60, check=True).stdout
    if re.search(r"Non-2xx|Socket errors", said):
        sys.exit("%s does not serve well:\n%s" % (url, said))
    latency, unit = re.search(r"50%\s+([0-9.]+)(us|ms|s)", said).groups()
    return (float(re.search(r"Requests/sec:\s+([0-9.]+)", said).group(1)),
            float(latency) * {"us": 0.001, "ms": 1.0, "s": 1000.0}[unit])


def inside():
    # Imported here, because it needs the program's name at import and only the inner half of this script uses it.
    sys.path.insert(0, os.path.join(ROOT, "tests", "wire"))
    from harness import Client, Field, is_listening, wait_until
    import urllib.request
    with Field():
        clients = [Client() for _ in range(TURTLES)]
        with urllib.request.urlopen(FIELD_URL, timeout=20) as answer:
            body = answer.read()
        nginx = Nginx(body)
        try:
            wait_until(lambda: is_listening(NGINX_PORT), 20, "nginx")
            load(FIELD_URL, CONNECTIONS)  # to warm up
            load(NGINX_URL, CONNECTIONS)
            rounds = []
            print("round,field_requests_per_s,nginx_requests_per_s,ratio", flush=True)
            for number in range(1, ROUNDS + 1):
                urls = (FIELD_URL, NGINX_URL) if number % 2 else (NGINX_URL, FIELD_URL)
                rate = {url: load(url, CONNECTIONS)[0] for url in urls}
                rounds.append((rate[FIELD_URL], rate[NGINX_URL], rate[FIELD_URL] / rate[NGINX_URL]))
                print("%d,%.0f,%.0f,%.2f" % (number, *rounds[-1]), flush=True)
            print("median,%.0f,%.0f,%.2f" % tuple(statistics.median(column) for column in zip(*rounds)))
            print("latency_of_one_client_ms,%.3f,%.3f,"
                  % tuple(statistics.median(load(url, 1)[1] for _ in range(3)) for url in (FIELD_URL, NGINX_URL)))
            print("body_bytes,%d,%d," % (len(body), len(body)))
        finally:
            nginx.close()
            for client in clients:
                client.close()


if __name__ == "__main__":
    if sys.argv[1:] == ["--inside"]:
        inside()
    else:
        program("wrk")
        program("nginx")
        field = sys.argv[1] if len(sys.argv) > 1 else os.path.join(ROOT, "build", "release", "kelmora")
        os.environ["KELMORA"] = os.path.abspath(field)
        os.execv(os.path.join(ROOT, "scripts", "in-namespace"),
                 ["in-namespace", sys.executable, "-B", os.path.realpath(__file__), "--inside"])
