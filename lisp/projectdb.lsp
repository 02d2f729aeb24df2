;;; The application layer over the project database: the Project Explorer's queries and the
;;; repair of a damaged project file, through the host's kvdb- functions.

;; The project database file of the current drawing's folder (the one file whose name holds
;; "kv_hvac"), or nil when there is none, or several.
(defun projectdb-currentFile ()
  (if getvar (kvdb-find (getvar "DWGPREFIX") "kv_hvac")))

;; Runs SQL on the current project and answers the count n, then the n distinct values of COLUMN,
;; ordered by SORTCOLUMN. Without a project file: no answer, the explorer shows no rows.
(defun hvac-projectExplorer_sqlQuery (sql column sortColumn / file values)
  (if (setq file (projectdb-currentFile))
    (progn
      (setq values (kvdb-query file sql column sortColumn T))
      (cons (length values) values))))

;; Repairs and compacts the damaged database file PATH by rebuilding it from what can be read;
;; the damaged file stays beside it as PATH.damaged. T when repaired, nil when not.
(defun compactDatabase (path unused mode / saved)
  (if (setq saved (kvdb-repair path))
    (progn
      (princ (strcat "\nDatabase repaired: " (itoa saved) " rows saved. The damaged file is kept as "
                     path ".damaged"))
      T)))
