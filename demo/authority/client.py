"""Asks the demonstration authority from a shell.

    python3 -m authority.client order ADDRESS REQUEST FOLDER    sends the request in the file REQUEST
    python3 -m authority.client latest ADDRESS FOLDER           takes the order issued last

Either writes certificate.txt (base64), chain.txt (the same as PKCS#7 with its authorities), issuer.txt and serial.txt into
FOLDER and prints the order number.
"""
import json
import os
import sys
import urllib.error
import urllib.request


def ask(address, path, body=None, headers=None):
    request = urllib.request.Request(address.rstrip("/") + path, data=body, headers=headers or {})
    with urllib.request.urlopen(request, timeout=120) as answer:
        return json.load(answer)


def send_order(address, request_file):
    with open(request_file, encoding="ascii") as file:
        body = json.dumps({"request": file.read()}).encode("ascii")
    token = ask(address, "/api/authority")["token"]
    return ask(address, "/api/orders", body, {"Content-Type": "application/json", "X-Enrolment-Token": token})


def main():
    arguments = sys.argv[1:]
    if len(arguments) == 4 and arguments[0] == "order":
        record = send_order(arguments[1], arguments[2])
    elif len(arguments) == 3 and arguments[0] == "latest":
        record = ask(arguments[1], "/api/orders")["orders"][0]
    else:
        sys.exit(__doc__)
    for name, key in (("certificate.txt", "certificate"), ("issuer.txt", "issuerDn"), ("serial.txt", "serialHex")):
        with open(os.path.join(arguments[-1], name), "w", encoding="utf-8", newline="") as file:
            file.write(record[key])
    chain = arguments[1].rstrip("/") + "/orders/%s/chain.txt" % record["order"]
    with urllib.request.urlopen(chain, timeout=120) as answer, open(os.path.join(arguments[-1], "chain.txt"), "wb") as file:
        file.write(answer.read())
    print(record["order"])


if __name__ == "__main__":
    try:
        main()
    except urllib.error.HTTPError as error:
        sys.exit("the authority refused: " + json.load(error)["error"])
