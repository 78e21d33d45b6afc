"""Witnesses of what stands in the user's stores: NSS's own tools on Linux, CryptoAPI on Windows."""

import base64
import json
import os
import re
import subprocess

from authority import sha1_of


class NssStores:
    """The user's NSS database, seen by certutil."""

    def __init__(self, site):
        self.site = site
        self.database = "sql:" + os.path.join(site.home, ".pki", "nssdb")

    def _tool(self, *command):
        done = subprocess.run(command, env=self.site.environment, capture_output=True, check=False)
        if done.returncode != 0:
            raise AssertionError(f"{' '.join(command)}: {done.stderr.decode(errors='replace')}")
        return done.stdout

    def _nicknames(self):
        """Each nickname, and whether all certificates under it have their private key ("u")."""
        lines = self._tool("certutil", "-L", "-d", self.database).decode().splitlines()
        found = [re.match(r"^(.*\S)\s+([a-zA-Z]*,[a-zA-Z]*,[a-zA-Z]*)\s*$", line) for line in lines]
        names = {}
        for match in filter(None, found):
            names[match.group(1)] = names.get(match.group(1), True) and "u" in match.group(2)
        return names

    def certificates(self):
        """SHA-1 of each certificate, and whether its private key is there."""
        stored = {}
        for nickname, with_key in self._nicknames().items():
            pem = self._tool("certutil", "-L", "-d", self.database, "-n", nickname, "-a").decode()
            for body in re.findall(r"-----BEGIN CERTIFICATE-----(.*?)-----END CERTIFICATE-----", pem, re.S):
                stored[sha1_of(base64.b64decode(body))] = with_key
        return stored

    def containers(self):
        """Names of the private keys."""
        done = subprocess.run(["certutil", "-K", "-d", self.database], env=self.site.environment, capture_output=True,
                              text=True, check=False)
        return re.findall(r"rsa\s+[0-9a-f]+\s+(.*)$", done.stdout, re.M)

    def has_with_key(self, der):
        return self.certificates().get(sha1_of(der), False)

    def has(self, der):
        return sha1_of(der) in self.certificates()

    def has_authority(self, der, store):
        """The database has no stores; what CryptoAPI calls "ROOT" is signed by itself."""
        printed = subprocess.run(["openssl", "x509", "-inform", "DER", "-noout", "-subject", "-issuer"], input=der,
                                 capture_output=True, check=True).stdout.decode().splitlines()
        is_root = printed[0].partition("=")[2] == printed[1].partition("=")[2]
        return self.has(der) and not self.has_with_key(der) and is_root == (store == "ROOT")

    def add_authority(self, der):
        subprocess.run(["certutil", "-A", "-d", self.database, "-n", "authority", "-t", ",,"], input=der,
                       env=self.site.environment, check=True)


class WindowsStores:
    """The current user's system stores, seen by a program that asks CryptoAPI itself."""

    def __init__(self, site, program, provider):
        self.site, self.program, self.provider = site, program, provider

    def _list(self, store):
        done = self.site.run_program([self.program, "list", store])
        if done.returncode != 0:
            raise AssertionError(done.stderr)
        return [json.loads(line) for line in done.stdout.splitlines() if line.startswith("{")]

    def containers(self):
        """Names of the key containers of the provider."""
        done = self.site.run_program([self.program, "containers", self.provider])
        if done.returncode != 0:
            raise AssertionError(done.stderr)
        return done.stdout.splitlines()

    def has_with_key(self, der):
        return any(entry["sha1"] == sha1_of(der) and entry.get("key", False) for entry in self._list("MY"))

    def has(self, der):
        return any(entry["sha1"] == sha1_of(der) for entry in self._list("MY"))

    def has_authority(self, der, store):
        return any(entry["sha1"] == sha1_of(der) for entry in self._list(store))

    def add_authority(self, der):
        path = os.path.join(self.site.work, "authority.der")
        with open(path, "wb") as file:
            file.write(der)
        done = self.site.run_program([self.program, "add", "CA", path])
        if done.returncode != 0:
            raise AssertionError(done.stderr)
