;;; teskpf-mode.el --- Parameter files, with the teskpf language server -*- lexical-binding: t -*-

;; A major mode for *.pf parameter files (comments, block markers, braces)
;; and its registration with Eglot, so that `M-x eglot' (or
;; `eglot-ensure' from the mode hook) starts `teskpf lsp' for them.
;;
;; Install: copy this file into a directory of `load-path' and add
;;   (require 'teskpf-mode)
;;   (add-hook 'teskpf-mode-hook #'eglot-ensure)
;; to your init file.  Set `teskpf-search-path' to check files as layers of
;; a search path other than PFPATH's.

;;; Code:

(require 'eglot)

(defgroup teskpf nil
  "Parameter files."
  :group 'languages)

(defcustom teskpf-program '("teskpf" "lsp")
  "The command that starts the language server, and its arguments."
  :type '(repeat string))

(defcustom teskpf-search-path nil
  "Directories, colon-separated, whose files of one name are layers.
Nil: the server uses PFPATH of its environment."
  :type '(choice (const :tag "PFPATH" nil) string))

(defvar teskpf-mode-syntax-table
  (let ((table (make-syntax-table)))
    (modify-syntax-entry ?# "<" table)
    (modify-syntax-entry ?\n ">" table)
    (modify-syntax-entry ?\\ "\\" table)
    (modify-syntax-entry ?\" "." table)
    table)
  "Syntax of parameter files: \"#\" starts a comment, \"\\\" escapes it.")

(defvar teskpf-font-lock-keywords
  '(("^[ \t]*\\([^ \t\n#]+\\)[ \t]+&\\(Arr\\|Tbl\\){" (1 font-lock-variable-name-face) (2 font-lock-keyword-face))
    ("^[ \t]*&\\(Arr\\|Tbl\\){" (1 font-lock-keyword-face))
    ("#\\(<[a-z]+>\\)" (1 font-lock-type-face t))
    ("^[ \t]*\\([^ \t\n#}]+\\)" (1 font-lock-variable-name-face)))
  "Keys, block markers and annotation types; comments come from the syntax table.")

;;;###autoload
(define-derived-mode teskpf-mode prog-mode "Pf"
  "Major mode for parameter files."
  (setq-local comment-start "# ")
  (setq-local comment-start-skip "#+[ \t]*")
  (setq-local font-lock-defaults '(teskpf-font-lock-keywords)))

;;;###autoload
(add-to-list 'auto-mode-alist '("\\.pf\\'" . teskpf-mode))

(defun teskpf--contact (&optional _interactive)
  "How Eglot starts the server: `teskpf-program', and the search path."
  `(,@teskpf-program
    :initializationOptions
    ,(if teskpf-search-path
         (list :teskpf (list :path teskpf-search-path))
       (make-hash-table))))

(add-to-list 'eglot-server-programs '(teskpf-mode . teskpf--contact))

(provide 'teskpf-mode)
;;; teskpf-mode.el ends here
