"""The enrolment page in the browser engine, with a stand-in for the plug-in: every failure can be had, and is explained."""
import concurrent.futures
import os
import unittest

import support

NAME = "/C=DE/O=Analytical Engines/CN=Ada Lovelace"
ACCESSIBILITY = os.path.join(support.TOP, "tests", "browser", "accessibility.js")

FILL_IN = """
wait #stage-choose
type #subject-CN Ada Lovelace
type #subject-O Analytical Engines
type #subject-C de
"""


class PageTest(support.ScratchTest):
    def setUp(self):
        super().setUp()
        self.authority = self.start_authority()
        self.window = support.Window(self, self.authority.address)
        self.request = support.request_text(self.scratch, NAME)[0]

    def issue(self, subject=NAME):
        answer = self.authority.order({"request": support.request_text(self.scratch, subject)[0]})
        self.assertEqual(answer.status, 201, answer.body)
        return answer.json()

    def enrolling(self, **more):
        """A plug-in with which everything goes well, but for what is said otherwise."""
        self.window.answers(**dict({"genP10": self.request, "genP10_exp_withdn": self.request, "writeClientCert": 0,
                                    "writeClientCert_exp_X509": 0, "IsCertExist": 0, "deleteCert": 0,
                                    "leavingMostRecentCert": 0, "CheckCertValid": 0}, **more))


class PageWithoutPlugIn(PageTest):
    def test_says_what_it_means_and_what_to_do(self):
        self.issue()
        self.window.play("""
wait #missing
expect-text #plugin-state not running
expect-text #missing Use a browser that loads such plug-ins
expect-text #missing npvemtrel_certenroll.so
expect-gone #stage-choose
wait #exist-0
expect document.querySelector('#exist-0').disabled
expect document.querySelector('#check-system').disabled
check %s
screenshot-page %s
""" % (ACCESSIBILITY, self.picture("plugin-missing")))


class PageEnrolling(PageTest):
    def test_by_the_mouse(self):
        self.enrolling()
        self.window.play(FILL_IN + """
expect-text #preview C=DE,O=Analytical Engines,CN=Ada Lovelace
choose #provider Second
click #bits-4096
click #hash-md5
click #make-request
wait #stage-requested
expect-focus #result-title
expect-text #result-title Done
click #send-request
wait #stage-issued
expect-focus #result-title
click #install
wait #stage-installed
expect-focus #result-title
expect-text #history The certificate is installed
expect fakeCalls.indexOf('setCSP(Second Provider)') >= 0
expect fakeCalls.indexOf('SetHashAlgorithm(md5)') >= 0
expect fakeCalls.indexOf('KeySpec=2') >= 0
expect fakeCalls.indexOf('genP10_exp_withdn(4096|0|C=DE,O=Analytical Engines,CN=Ada Lovelace)') >= 0
""")
        self.assertEqual(len(self.authority.orders()), 1)

    def test_by_the_keyboard_alone(self):
        self.enrolling()
        self.window.play("""
wait #stage-choose
press Tab
expect-focus .skip
press Return Tab
expect-focus #provider
press Down Tab
expect-focus #bits-2048
press Down
expect document.activeElement.id === 'bits-4096' && document.activeElement.checked
press Tab
expect-focus #hash-sha1
press Tab
expect-focus #purpose-2
press Tab
expect-focus #subject-CN
enter Ada Lovelace
press Tab
expect-focus #subject-O
press Tab
expect-focus #subject-OU
press Tab
expect-focus #subject-C
press Tab
expect-focus #naming-request
press Tab
expect-focus #exportable-0
press Tab
expect-focus #answer-certificate
press Tab
expect-focus #make-request
press Space
wait #stage-requested
expect-focus #result-title
press Tab
expect-focus #request-text
press Tab
expect-focus #send-request
press Space
wait #stage-issued
expect-focus #result-title
press Tab Tab Tab Tab
expect-focus #install
press Space
wait #stage-installed
expect-focus #result-title
press Tab
expect-focus #enrol-another
press Tab
expect-focus #exist-0
press Space
wait-text #result is here
expect fakeCalls.indexOf('genP10_exp_withdn(4096|0|CN=Ada Lovelace)') >= 0
""")

    def test_a_key_that_may_be_exported(self):
        self.enrolling()
        self.window.play(FILL_IN + """
click #exportable-1
click #purpose-1
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait #stage-installed
expect fakeCalls.indexOf('KeySpec=1') >= 0
expect fakeCalls.join(' ').indexOf('genP10_exp_withdn(2048|1|') >= 0
expect fakeCalls.join(' ').indexOf('writeClientCert(MII') >= 0
""")

    def test_a_chain(self):
        self.enrolling()
        self.window.play(FILL_IN + """
expect-text #answer-hint begins with "Microsoft" it needs a key that may be exported
click #answer-chain
check %s
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait #stage-installed
expect-text #result installed with its chain
expect fakeCalls.filter(function (call) { return call.indexOf('writeClientCert') === 0; }).length === 1
expect atob(fakeCalls.join(' ').replace(/[\\s\\S]*writeClientCert\\(([^)]*)\\)[\\s\\S]*/, '$1').replace(/\\s/g, '')).slice(4, 15) === '\\x06\\x09*\\x86H\\x86\\xf7\\x0d\\x01\\x07\\x02'
""" % ACCESSIBILITY)

    def test_a_chain_wants_a_key_that_may_be_exported_before_the_key_is_made(self):
        self.enrolling(listCSP=["Microsoft Base Provider", "Other Maker's Provider"])
        self.window.play(FILL_IN + """
click #answer-chain
click #make-request
wait-text #result With this provider a chain needs a key that may be exported
expect-text #answer-error Allow that, or install your certificate alone
check %s
expect fakeCalls.join(' ').indexOf('genP10') < 0
choose #provider Other Maker
click #make-request
wait #stage-requested
click #abandon-requested
click #confirm-yes
choose #provider Microsoft Base
click #exportable-1
click #make-request
wait #stage-requested
expect-gone #answer-error
""" % ACCESSIBILITY)

    def test_a_chain_that_was_stored_in_part_leaves_a_certificate_installed(self):
        self.enrolling(writeClientCert=22068207)
        self.window.play(FILL_IN + """
click #answer-chain
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait #stage-installed
expect-text #result-title Note
expect-text #result installed, but not all of its chain
expect-text #result 22068207
expect-text #result The certificate can be used already
""")

    def test_a_chain_is_not_installed_while_the_authority_is_away(self):
        self.enrolling()
        self.window.play(FILL_IN + """
click #answer-chain
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
""")
        order = self.authority.orders()[0]["order"]
        folder = os.path.join(self.authority.folder, "orders", order)
        os.rename(folder, folder + ".away")
        self.window.play("""
wait #stage-issued
click #install
wait-text #result the chain was not fetched
expect fakeCalls.join(' ').indexOf('writeClientCert') < 0
expect-gone #stage-installed
""")
        os.rename(folder + ".away", folder)
        self.window.play("wait #stage-issued\nclick #install\nwait #stage-installed\n")

    def test_a_key_that_stays_is_installed_without_moving_it(self):
        self.enrolling()
        self.window.play(FILL_IN + """
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait #stage-installed
expect fakeCalls.join(' ').indexOf('writeClientCert_exp_X509(MII') >= 0
expect fakeCalls.join(' ').indexOf('writeClientCert(') < 0
""")

    def test_a_name_that_the_authority_fills_in(self):
        self.request = support.request_text(self.scratch, "/")[0]
        self.enrolling()
        self.window.play(FILL_IN + """
click #naming-authority
expect-gone #exportable-field
click #make-request
wait #stage-requested
expect-text #stage-requested in the form
click #send-request
wait #stage-issued
expect-text #issued-facts C=DE, O=Analytical Engines, CN=Ada Lovelace
click #install
wait #stage-installed
expect fakeCalls.indexOf('genP10(2048)') >= 0
expect fakeCalls.join(' ').indexOf('writeClientCert(MII') >= 0
""")

    def test_goes_on_where_it_was_after_being_closed(self):
        self.enrolling()
        self.window.play(FILL_IN + """
choose #provider Second
click #make-request
wait #stage-requested
""")
        self.window.play("""
wait #stage-requested
expect-text #result still waiting to be sent
expect document.querySelector('#request-text').value.indexOf('MII') === 0
click #send-request
wait #stage-issued
""")
        self.window.play("""
wait #stage-issued
expect-text #result %s is still waiting to be installed
screenshot %s
click #install
wait #stage-installed
expect fakeCalls.indexOf('setCSP(Second Provider)') >= 0
""" % (self.authority.orders()[0]["order"], self.picture("resumed")))
        self.window.play("""
wait #stage-installed
expect-gone #result
click #enrol-another
expect-focus #choose-title
expect document.querySelector('#subject-CN').value === 'Ada Lovelace'
""")

    def test_an_order_is_fetched_by_its_number(self):
        record = self.issue()
        self.enrolling()
        self.window.play("""
wait #stage-choose
type #order-number 0000-0000-0000
click #fetch-order
wait-text #result knows no order
type #order-number %s
press Return
wait #stage-issued
expect-text #issued-facts %s
click #install
wait #stage-installed
""" % (record["order"].lower(), record["order"]))

    def test_a_pasted_certificate_is_installed_without_its_armour(self):
        self.enrolling()
        self.window.play("""
wait #stage-choose
click #install-pasted
expect-text #pasted-error Paste the text
expect-focus #pasted
enter -----BEGIN CERTIFICATE-----QUJD-----END CERTIFICATE-----
click #install-pasted
wait #stage-installed
expect fakeCalls.indexOf('writeClientCert_exp_X509(QUJD)') >= 0
""")

    def test_starting_again_asks_first(self):
        self.enrolling()
        self.window.play(FILL_IN + """
click #make-request
wait #stage-requested
click #abandon-requested
wait #confirm
expect-focus #confirm-no
press Escape
wait-gone #confirm
expect-focus #abandon-requested
click #abandon-requested
click #confirm-yes
wait #stage-choose
expect-focus #choose-title
expect document.querySelector('#subject-CN').value === 'Ada Lovelace'
""")

    def test_a_second_window_follows_the_first(self):
        self.enrolling()
        self.window.play(FILL_IN + """
click #make-request
wait #stage-requested
expect (localStorage.setItem('certEnrolment', JSON.stringify({stage: 'installed', choices: JSON.parse(localStorage.certEnrolment).choices, request: '', record: null})), true)
expect (window.dispatchEvent(new StorageEvent('storage', {key: 'certEnrolment'})), true)
wait #stage-installed
wait-text #status another window
""")

    def test_remembered_nonsense_counts_as_nothing(self):
        self.enrolling()
        for value in ("x", "{}", "[]", '{"stage":"issued","choices":{"provider":"p","subject":{}}}', '{"stage":"requested"}',
                      '{"stage":"x","choices":{"provider":1}}', "null"):
            with self.subTest(value=value):
                self.window.play("wait #stage-choose\nexpect (localStorage.setItem('certEnrolment', '%s'), true)\n"
                                 "reload\nwait #stage-choose\n" % value)


class PageForm(PageTest):
    def test_troubles_are_named_beside_their_fields(self):
        self.enrolling()
        self.window.play("""
wait #stage-choose
click #make-request
wait #result
expect-text #result one answer needs another look
expect-text #CN-error Fill in your name
expect document.querySelector('#subject-CN').getAttribute('aria-invalid') === 'true'
click "#result a"
expect-focus #subject-CN
enter Lovelace, Ada
press Tab
enter a=b
press Tab Tab
enter D1
click #make-request
wait-text #result 3 answers need another look
expect-text #CN-error comma
expect-text #O-error equals sign
expect-text #C-error two letters
check %s
screenshot-page %s
type #subject-CN Ada Lovelace
type #subject-O Analytical Engines
type #subject-C DE
click #make-request
wait #stage-requested
expect !document.querySelector('[aria-invalid]')
""" % (ACCESSIBILITY, self.picture("form-troubles")))

    def test_no_provider(self):
        self.enrolling(listCSP=[])
        self.window.play("""
wait #stage-choose
expect-text #provider-error no provider
type #subject-CN Ada
click #make-request
wait-text #result no provider
expect fakeCalls.join(' ').indexOf('genP10') < 0
""")


class PageExplains(PageTest):
    def test_every_code_of_an_installation(self):
        meanings = support.codes()
        self.assertGreater(len(meanings), 60)
        failures = [code for code in meanings if code != 0]
        self.enrolling(writeClientCert_exp_X509=failures + [0])
        script = "wait #stage-choose\n"
        for code in failures:
            happened, cause, remedy = meanings[code]
            script += "type #pasted QUJD\nclick #install-pasted\nwait-text #result %d\n" % code
            for text in (happened[1:].replace("`", ""), cause, remedy):
                script += "expect-text #result %s\n" % text
        self.window.play(script + "screenshot %s\n" % self.picture("code-explained"))

    def test_a_failed_installation_uses_the_request_up(self):
        self.enrolling(writeClientCert_exp_X509=22068125)
        self.window.play(FILL_IN + """
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait #stage-choose
expect-focus #result-title
expect-text #result 22068125
check %s
screenshot-page %s
click #request-again
expect-focus #choose-title
expect document.querySelector('#subject-O').value === 'Analytical Engines'
click #make-request
wait #stage-requested
""" % (ACCESSIBILITY, self.picture("install-failed")))

    def test_an_installation_that_never_began_leaves_the_request(self):
        for code in (-333, 22038226, 22068201, 22068204):
            with self.subTest(code=code):
                self.enrolling(writeClientCert_exp_X509=[code, 0])
                self.window.play(FILL_IN + """
click #make-request
wait #stage-requested
click #send-request
wait #stage-issued
click #install
wait-text #result %d
expect-text #result untouched
click #install
wait #stage-installed
click #enrol-another
""" % code)

    def test_an_empty_request_names_the_likely_causes(self):
        meanings = support.codes()
        for naming, likely in (("request", (22188112, 22188104, 22188308, 22038124, 22188218, 22188201)),
                               ("authority", (22188112, 22188104, 22188308, 22188201))):
            with self.subTest(naming=naming):
                self.enrolling(genP10="", genP10_exp_withdn="")
                script = FILL_IN + "click #naming-%s\nclick #make-request\nwait-text #result likely causes\n" % naming
                for code in likely:
                    script += "expect-text #result %d\nexpect-text #result %s\n" % (code, meanings[code][2])
                self.window.play(script + "expect-gone #stage-requested\ncheck %s\nscreenshot %s\n"
                                 % (ACCESSIBILITY, self.picture("request-failed")))

    def test_a_refused_hash(self):
        self.enrolling(SetHashAlgorithm=22198220)
        self.window.play(FILL_IN + "click #make-request\nwait-text #result 22198220\n")

    def test_requests_work_where_only_requests_work(self):
        self.enrolling(SetHashAlgorithm=-333, IsCertExist=-333)
        self.window.play(FILL_IN + "click #make-request\nwait #stage-requested\n")
        self.window.play("""
wait #stage-requested
click #send-request
wait #exist-0
click #exist-0
wait-text #result -333
""")

    def test_a_refused_call_and_a_number_that_is_no_code(self):
        self.enrolling(writeClientCert_exp_X509=["throw", 7])
        self.window.play("""
wait #stage-choose
type #pasted QUJD
click #install-pasted
wait-text #result refused the call
type #pasted QUJD
click #install-pasted
wait-text #result not in the list of codes
""")

    def test_an_authority_that_says_no(self):
        self.request = support.request_text(self.scratch, "/CN=x/title=Countess")[0]
        self.enrolling()
        self.window.play(FILL_IN + """
click #make-request
wait #stage-requested
click #send-request
wait-text #result does not certify
wait #stage-requested
""")

    def test_an_authority_that_does_not_answer_and_is_started_anew(self):
        self.enrolling()
        ready, stopped, seen, started = (os.path.join(self.scratch, name) for name in ("ready", "stopped", "seen", "started"))
        script = FILL_IN + """
click #make-request
wait #stage-requested
save #request-text %s
await %s
click #send-request
wait-text #result The authority does not answer
save #result-title %s
await %s
click #send-request
wait #stage-issued
""" % (ready, stopped, seen, started)
        with concurrent.futures.ThreadPoolExecutor() as pool:
            window = pool.submit(self.window.play, script)
            support.wait_for(lambda: os.path.exists(ready) or window.done())
            self.authority.stop()
            open(stopped, "w", encoding="ascii").close()
            support.wait_for(lambda: os.path.exists(seen) or window.done())
            self.authority.start()
            open(started, "w", encoding="ascii").close()
            window.result()


class PageLooksAfterCertificates(PageTest):
    def setUp(self):
        super().setUp()
        self.record = self.issue()

    def test_is_it_here(self):
        self.enrolling(IsCertExist=[0, 1, 22219999])
        self.window.play("""
wait #exist-0
click #exist-0
wait-text #result is here
expect-focus #result-title
click #exist-0
wait-text #result is not here
click #exist-0
wait-text #result could not be looked for
expect fakeCalls.indexOf('IsCertExist(%s|%s)') >= 0
""" % (self.record["issuerDn"], self.record["serialHex"]))

    def test_delete_asks_first(self):
        self.enrolling(deleteCert=[0, 22218126])
        self.window.play("""
wait #delete-0
click #delete-0
wait #confirm
expect-text #confirm Delete the certificate of Ada Lovelace
expect-focus #confirm-no
screenshot %s
press Space
wait-gone #confirm
expect-focus #delete-0
expect fakeCalls.join(' ').indexOf('deleteCert') < 0
click #delete-0
click #confirm-yes
wait-text #result is deleted
expect fakeCalls.indexOf('deleteCert(%s|%s)') >= 0
click #delete-0
click #confirm-yes
wait-text #result 22218126
""" % (self.picture("delete-confirmed"), self.record["issuerDn"], self.record["serialHex"]))

    def test_keep_only_the_most_recent(self):
        self.enrolling(leavingMostRecentCert=[0, 22238126, -333])
        self.window.play("""
wait #prune-0
click #prune-0
click #confirm-yes
wait-text #result only the most recent certificate is left
expect fakeCalls.indexOf('leavingMostRecentCert(%s|%s)') >= 0
click #prune-0
click #confirm-yes
wait-text #result nothing to clear out
click #prune-0
click #confirm-yes
wait-text #result -333
""" % (self.record["subjectDn"], self.record["issuerDn"]))

    def test_renew_fills_the_form_with_the_same_name(self):
        self.enrolling()
        self.window.play("""
wait #renew-0
click #renew-0
wait #stage-choose
expect-focus #choose-title
expect document.querySelector('#subject-CN').value === 'Ada Lovelace'
expect document.querySelector('#subject-O').value === 'Analytical Engines'
click #make-request
wait #stage-requested
click #renew-0
wait #confirm
click #confirm-yes
wait #stage-choose
""")

    def test_is_the_authority_known(self):
        self.enrolling(CheckCertValid=[0, 22208321, 22208101, 22208313])
        self.window.play("""
wait #exist-0
click #check-system
wait-text #result is known to this computer
click #check-system
wait-text #result is not known to this computer
click #check-system
wait-text #result 22208101
click #check-firefox
wait-text #result 22208313
expect fakeCalls.join(' ').indexOf('CheckCertValid(1|MII') >= 0
expect fakeCalls.join(' ').indexOf('CheckCertValid(0|MII') >= 0
""")

    def test_names_from_the_authority_are_only_text(self):
        self.issue("/O=<script>document.title\\=1<\\/script>/CN=<b id\\=injected>x<\\/b>")
        self.enrolling()
        self.window.play("wait #exist-1\nexpect !document.querySelector('#injected')\n"
                         "expect-text #certificates <b id=injected>\n")


class PageAccessibility(PageTest):
    def test_every_stage(self):
        self.issue()
        self.enrolling(IsCertExist=1)
        script = FILL_IN + """
wait #exist-0
check {check}
screenshot-page {choose}
click #make-request
wait #stage-requested
check {check}
screenshot-page {requested}
click #abandon-requested
check {check}
click #confirm-no
click #send-request
wait #stage-issued
check {check}
screenshot-page {issued}
click #install
wait #stage-installed
wait #exist-1
check {check}
screenshot-page {installed}
click #exist-0
wait-text #result not here
check {check}
size 420 900
check {check}
expect document.documentElement.scrollWidth <= document.documentElement.clientWidth
screenshot-page {narrow}
"""
        names = {name: self.picture("stage-" + name) for name in ("choose", "requested", "issued", "installed", "narrow")}
        self.window.play(script.format(check=ACCESSIBILITY, **names))


if __name__ == "__main__":
    unittest.main()
