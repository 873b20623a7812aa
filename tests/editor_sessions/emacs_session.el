;;; emacs_session.el --- A batch Emacs session against `teskpf lsp' -*- lexical-binding: t -*-

;; With the set-up of editors/emacs, installed and loaded as docs/editors.md
;; says (run_session.py does that): opens the site layer of a layered name,
;; prints the diagnostics Flymake gets from the server and the hover on a
;; key, then exits; status 0 when both arrived.

(require 'flymake)

(defun session-say (format-string &rest args)
  (princ (concat (apply #'format format-string args) "\n")))

(defun session-fail (text)
  (session-say "FAILED: %s" text)
  (kill-emacs 1))

(defun session-wait (predicate seconds)
  "Wait until PREDICATE holds, for SECONDS at most; its last value."
  (let ((deadline (+ (float-time) seconds)) (value nil))
    (while (and (not (setq value (funcall predicate))) (< (float-time) deadline))
      (accept-process-output nil 0.05)
      (when (bound-and-true-p flymake-mode) (flymake-start)))
    value))

;; Files outside version control are a project of their own directory.
(add-hook 'project-find-functions (lambda (dir) (cons 'transient dir)))

(find-file (getenv "TESKPF_SESSION_FILE"))
(unless (eq major-mode 'teskpf-mode) (session-fail (format "major mode %s" major-mode)))
;; eglot-ensure, which the init file hooks in, connects after the next
;; command, and a batch session runs none.
(unless (eglot-current-server) (apply #'eglot (eglot--guess-contact)))
(unless (session-wait #'eglot-current-server 10) (session-fail "no server within 10 s"))

(let ((diagnostics (session-wait #'flymake-diagnostics 10)))
  (unless diagnostics (session-fail "no diagnostics within 10 s"))
  (dolist (d diagnostics)
    (save-excursion
      (goto-char (flymake-diagnostic-beg d))
      (session-say "diagnostic %d:%d %s %s" (line-number-at-pos) (1+ (- (point) (line-beginning-position)))
                   (flymake-diagnostic-type d) (flymake-diagnostic-text d)))))

;; Line 5 of the site layer is "\tport\t18001".
(goto-char (point-min))
(forward-line 4)
(forward-char 2)
(let* ((hover (jsonrpc-request (eglot-current-server) :textDocument/hover
                               (eglot--TextDocumentPositionParams) :timeout 5))
       (contents (plist-get hover :contents))
       (text (if (stringp contents) contents (plist-get contents :value))))
  (unless text (session-fail "no hover"))
  (session-say "hover:")
  (dolist (line (split-string text "\n" t))
    (session-say "  %s" line)))
(kill-emacs 0)
;;; emacs_session.el ends here
