"""The examples of docs/script-interface.md, run in the browser engine with the plug-in and the demonstration's authority."""
import json
import os
import re
import unittest

import support

DOCUMENT = os.path.join(support.TOP, "docs", "script-interface.md")
PAGE = """<!DOCTYPE html><meta charset="utf-8"><title>Examples</title>
<object id="plugin" type="application/npvemtrel_certenroll" width="1" height="1"></object><pre id="out">-</pre>
<script>
%s
var plugin = document.getElementById("plugin");
function show(text) { document.getElementById("out").textContent = text; return true; }
var given = %s;
</script>
"""
PROVIDER = "NSS Certificate DB"


class Examples(support.ScratchTest):
    def setUp(self):
        super().setUp()
        with open(DOCUMENT, encoding="utf-8") as file:
            self.document = file.read()
        self.examples = re.findall(r"^```js\n(.*?)^```$", self.document, re.M | re.S)
        self.played = ""

    def play(self, script, **given):
        """Runs a script of the window's driver on a page with all examples; what it is given stands in `given`."""
        page = os.path.join(self.scratch, "examples.html")
        with open(page, "w", encoding="utf-8") as file:
            file.write(PAGE % ("\n".join(self.examples), json.dumps(given)))
        window = support.Window(self, "file://" + page)
        window.plugins = True
        window.play("wait #out\n" + script)
        self.played += script

    def request(self, expression):
        self.play("expect show(%s)\nsave #out request.txt\n" % expression)
        with open(os.path.join(self.scratch, "request.txt"), encoding="utf-8") as file:
            return file.read()

    def order(self, authority, text, **more):
        answer = authority.order(dict({"request": text}, **more))
        self.assertEqual(answer.status, 201, answer.body)
        return answer.json()

    def test_every_example_does_what_is_said(self):
        authority = self.start_authority()
        root, issuing = (re.sub("-----[^-]*-----|\n", "", authority.get("/authority/" + name).body.decode())
                         for name in ("root.pem", "issuing.pem"))
        self.play("""
expect runs(plugin) === true
expect runs(document.createElement("object")) === false
expect providers(plugin)[0] === "%s"
expect choose(plugin, "No such provider") === false
expect choose(plugin, "%s") === true
expect useSha1(plugin) === true
expect (forSignatures(plugin), plugin.KeySpec === undefined)
expect subjectOf({CN: "a,b"}) === null
expect subjectOf({}) === null
expect subjectOf({CN: "Ada", C: "DE"}) === "C=DE,CN=Ada"
expect requestFor(plugin, "%s", {C: "DE", CN: "a,b"}) === ""
expect namelessRequest(plugin, "No such provider") === ""
expect install(plugin, "%s", "MAA=").state === "again"
expect install(plugin, "%s", given.root).state === "lost"
expect knowsAuthority(plugin, given.root) === false
expect knowsAuthority(plugin, "MAA=") === null
expect plugin() === "default method return val"
""" % ((PROVIDER,) * 5), root=root)

        first = self.order(authority, self.request('requestFor(plugin, "%s", {C: "DE", O: "Example", CN: "Ada"})' % PROVIDER))
        self.assertEqual(first["subjectDn"], "C=DE, O=Example, CN=Ada")
        chain = authority.get("/orders/%s/chain.txt" % first["order"]).body.decode()
        self.play("""
expect install(plugin, "%s", given.chain).state === "installed"
expect install(plugin, "%s", given.chain).state === "lost"
expect isHere(plugin, given.issuer, given.serial) === true
expect isHere(plugin, given.issuer, "00") === false
expect knowsAuthority(plugin, given.root) === true
expect knowsAuthority(plugin, given.issuing) === true
expect prune(plugin, given.subject, given.issuer) === false
""" % (PROVIDER, PROVIDER), chain=chain, root=root, issuing=issuing, issuer=first["issuerDn"], subject=first["subjectDn"],
                  serial=first["serialHex"])

        name = {"C": "DE", "O": "Example", "CN": "Ada"}
        second = self.order(authority, self.request('namelessRequest(plugin, "%s")' % PROVIDER), subject=name)
        self.play("""
expect installCertificateAlone(plugin, "%s", given.chain) === 22038226
expect installCertificateAlone(plugin, "%s", given.certificate) === 0
expect isHere(plugin, given.issuer, given.serial) === true
expect prune(plugin, given.subject, given.issuer) === true
expect isHere(plugin, given.issuer, given.first) === false
expect isHere(plugin, given.issuer, given.serial) === true
expect remove(plugin, given.issuer, given.serial) === true
expect isHere(plugin, given.issuer, given.serial) === false
expect remove(plugin, given.issuer, given.serial) === true
expect remove(plugin, given.issuer, "") === false
""" % (PROVIDER, PROVIDER), chain=chain, certificate=second["certificate"], issuer=second["issuerDn"],
                  subject=second["subjectDn"], serial=second["serialHex"], first=first["serialHex"])

        third = self.order(authority, self.request('requestFor(plugin, "%s", {CN: "Ada"})' % PROVIDER))
        self.play("""
expect installWithoutQuestions(plugin, "%s", given.chain) === 0
expect isHere(plugin, given.issuer, given.serial) === true
""" % PROVIDER, chain=authority.get("/orders/%s/chain.txt" % third["order"]).body.decode(), issuer=third["issuerDn"],
                  serial=third["serialHex"])

        functions = re.findall(r"^function (\w+)", "\n".join(self.examples), re.M)
        self.assertEqual([name for name in functions if name + "(" not in self.played], [])
        methods = re.findall(r"^### `(\w+)", self.document, re.M)
        self.assertEqual(len(methods), 14)
        self.assertEqual([name for name in methods if "plugin." + name not in "\n".join(self.examples)], [])


if __name__ == "__main__":
    unittest.main()
