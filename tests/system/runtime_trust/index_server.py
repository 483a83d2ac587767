"""An HTTPS server on 127.0.0.1 for the runtime clients: a package index page for pip, "{}" for
npm's ping and anything else. Prints "PORT n" once it listens.

    python3 -S index_server.py CERTIFICATE KEY
"""
import http.server
import ssl
import sys

INDEX = b'<!DOCTYPE html><html><body><a href="demo-1.0.tar.gz">demo-1.0.tar.gz</a></body></html>'


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        page = INDEX if self.path.startswith("/simple/") else b"{}"
        kind = "text/html" if page is INDEX else "application/json"
        self.send_response(200)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(len(page)))
        self.end_headers()
        self.wfile.write(page)

    def log_message(self, *arguments):
        pass


def main():
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(sys.argv[1], sys.argv[2])
    server.socket = context.wrap_socket(server.socket, server_side=True)
    print("PORT", server.server_address[1], flush=True)
    server.serve_forever()


main()
